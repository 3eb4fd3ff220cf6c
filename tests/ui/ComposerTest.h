#pragma once

#include "Columns.h"
#include "composer/ComposerTextView.h"
#include "composer/ComposerView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QApplication>
#include <QInputMethodEvent>

namespace teskal::test {

/// Every test begins with an empty composer in a window of its own, whose text has the keyboard.
class ComposerTest : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void init() {
        theme_.install(*qApp);
        composer_ = std::make_unique<ComposerView>(theme_);
        text_ = &composer_->textView();
        composer_->resize(500, 120);
        composer_->show();
        composer_->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(composer_.get()));
        composer_->focusText();
        QTRY_VERIFY(text_->hasFocus());
    }
    void cleanup() { composer_.reset(); }

protected:
    [[nodiscard]] QAbstractButton* button(const char* name) const {
        return composer_->findChild<QAbstractButton*>(QLatin1String(name));
    }
    /// What an input method does.
    void compose(const QString& preedit, const QString& commit = {}) {
        QInputMethodEvent event(preedit, {});
        event.setCommitString(commit);
        QCoreApplication::sendEvent(text_, &event);
    }
    /// To what has the keyboard.
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(QApplication::focusWidget(), key, modifiers);
    }

    Theme theme_;
    std::unique_ptr<ComposerView> composer_;
    ComposerTextView* text_ = nullptr;
};

} // namespace teskal::test
