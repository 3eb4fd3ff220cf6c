#pragma once

#include "Columns.h"
#include "MainWindow.h"
#include "TeskalCommands.h"
#include "chat/DetailView.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QApplication>
#include <QSettings>

#include <memory>

namespace teskal::test {

/// Every test begins with a main window at its chats, which has the keyboard, and a transcript that can take
/// it.
class WindowTest : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void init() {
        theme_.install(*qApp);
        window_ = std::make_unique<MainWindow>(theme_, settings_);
        auto* transcript = new QWidget;
        page_ = new QWidget(transcript);
        page_->setFocusPolicy(Qt::StrongFocus);
        window_->setTranscript(transcript, [this](EditAction edit) { pageEdits_.append(edit); });
        window_->setPage(MainWindow::Page::Chats);
        window_->show();
        window_->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window_.get()));
    }
    void cleanup() {
        window_.reset();
        settings_.clear();
        pageEdits_.clear();
    }

protected:
    [[nodiscard]] ComposerView& composer() const { return window_->detail().composer(); }
    [[nodiscard]] ComposerTextView& text() const { return composer().textView(); }
    /// To what has the keyboard.
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }

    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(u"s.ini"_qs), QSettings::IniFormat};
    std::unique_ptr<MainWindow> window_;
    QWidget* page_ = nullptr;
    QList<EditAction> pageEdits_;
};

} // namespace teskal::test
