#pragma once

#include "Columns.h"
#include "SidebarLibrary.h"
#include "sidebar/SidebarTree.h"
#include "sidebar/SidebarView.h"
#include "theme/Theme.h"

#include <QAccessible>
#include <QApplication>

#include <memory>

namespace teskal::test {

/// Every test begins with a sidebar of five chats and one in a folder, in a window of its own.
class SidebarTest : public QObject {
    Q_OBJECT

protected Q_SLOTS:
    void initTestCase() {
        theme_.install(*qApp);
        theme_.setAppearance(Appearance::Light);
        QAccessible::setActive(true);
    }

    void init() {
        sidebar_.reset();
        rows_.reset();
        library_ = std::make_unique<SidebarLibrary>();
        chats_.clear();
        for (int number = 0; number < 5; ++number)
            chats_.append(library_->add(u"Chat %1"_qs.arg(number), number * 60'000.0));
        filed_ = library_->add(u"Filed"_qs, 0, u"about tea"_qs);
        folder_ = library_->addFolder(u"Work"_qs, {filed_});
        rows_ = std::make_unique<SidebarModel>(library_->sources());
        sidebar_ = std::make_unique<SidebarView>(theme_);
        sidebar_->setRows(rows_.get());
        list_ = &sidebar_->list();
        sidebar_->resize(268, 600);
        sidebar_->show();
        sidebar_->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(sidebar_.get()));
    }

protected:
    [[nodiscard]] QPoint placeOf(const QModelIndex& index) const { return list_->visualRect(index).center(); }
    void click(const QModelIndex& index, Qt::KeyboardModifiers modifiers = {},
               Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(list_->viewport(), button, modifiers, placeOf(index));
    }
    void click(const QString& id, Qt::KeyboardModifiers modifiers = {}) {
        click(rows_->chatIndex(id), modifiers);
    }
    [[nodiscard]] QModelIndex folderRow() const { return rows_->index(0, 0); }

    [[nodiscard]] QStringList shownMarks() const {
        QStringList ids;
        for (const QModelIndex& index : list_->selectionModel()->selectedIndexes())
            ids.append(sidebarId(index));
        ids.sort();
        return ids;
    }

    Theme theme_;
    std::unique_ptr<SidebarLibrary> library_;
    std::unique_ptr<SidebarModel> rows_;
    std::unique_ptr<SidebarView> sidebar_;
    SidebarTree* list_ = nullptr;
    QString filed_, folder_;
    QStringList chats_; ///< newest first, not in the folder
};

} // namespace teskal::test
