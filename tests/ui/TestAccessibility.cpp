#include "Columns.h"
#include "MainWindow.h"
#include "SidebarLibrary.h"
#include "chat/DetailView.h"
#include "chat/FindBar.h"
#include "composer/ComposerFile.h"
#include "composer/ComposerView.h"
#include "controls/AlertLabel.h"
#include "controls/ToastView.h"
#include "dialogs/ConfirmDialog.h"
#include "dialogs/NameDialog.h"
#include "dialogs/RenameField.h"
#include "settings/SettingsWindow.h"
#include "sheets/CreditsSheet.h"
#include "sheets/KeysSheet.h"
#include "sheets/RoutesSheet.h"
#include "sidebar/AccountFooter.h"
#include "sidebar/SidebarView.h"
#include "signin/SignInView.h"
#include "theme/Theme.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QLabel>
#include <QSettings>

using namespace teskal::test;

namespace {

/// Everything in the tree below \a object that is not hidden.
QList<QAccessibleInterface*> shownBelow(QAccessibleInterface* object) {
    QList<QAccessibleInterface*> found;
    for (int index = 0; index < object->childCount(); ++index) {
        QAccessibleInterface* const child = object->child(index);
        if (!child || child->state().invisible)
            continue;
        found.append(child);
        found.append(shownBelow(child));
    }
    return found;
}

bool isControl(const QAccessibleInterface& object) {
    static const QSet<int> roles{QAccessible::Button,      QAccessible::ButtonMenu,   QAccessible::CheckBox,
                                 QAccessible::RadioButton, QAccessible::EditableText, QAccessible::MenuItem,
                                 QAccessible::Tree,        QAccessible::TreeItem,     QAccessible::List,
                                 QAccessible::ListItem,    QAccessible::Dialog,       QAccessible::Separator};
    return roles.contains(object.role());
}

QString described(const QObject& object) {
    return u"%1 %2"_qs.arg(QLatin1String(object.metaObject()->className()), object.objectName());
}

/// What Tab stops at in \a window.
QSet<QWidget*> tabStops(const QWidget& window) {
    const QWidget* around = &window;
    for (const ModalCard* card : window.findChildren<ModalCard*>())
        around = card->isVisible() ? card : around;
    QSet<QWidget*> stops;
    for (QWidget* widget : around->findChildren<QWidget*>())
        if (widget->isVisible() && widget->isEnabled() && (widget->focusPolicy() & Qt::TabFocus))
            stops.insert(widget);
    return stops;
}

} // namespace

/// Every screen as a screen reader and the keyboard find it, and with room for its texts.
class TestAccessibility : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() {
        theme_.install(*qApp);
        library_.add(u"A chat"_qs);
        QAccessible::setActive(true);
    }

    void init() {
        settingsWindow_ = std::make_unique<SettingsWindow>(theme_, settings_);
        window_ = std::make_unique<MainWindow>(theme_, settings_);
    }

    void everyControlHasNameAndRole_data() { screens(); }

    void everyControlHasNameAndRole() {
        QFETCH(const int, stops);
        QWidget& window = show();
        int controls = 0;
        for (const QAccessibleInterface* object :
             shownBelow(QAccessible::queryAccessibleInterface(&window))) {
            if (!isControl(*object))
                continue;
            const QObject* const widget = object->object();
            QVERIFY2(!object->text(QAccessible::Name).isEmpty(),
                     qPrintable(widget ? described(*widget) : QString::number(object->role())));
            ++controls;
        }
        QVERIFY2(controls >= stops, "the tree holds what Tab reaches");
        for (QWidget* widget : window.findChildren<QWidget*>()) {
            if (!widget->isVisible() || widget->focusPolicy() == Qt::NoFocus)
                continue;
            const QAccessibleInterface& object = *QAccessible::queryAccessibleInterface(widget);
            // A text that can be selected takes the focus as well.
            QVERIFY2(isControl(object) || object.role() == QAccessible::StaticText,
                     qPrintable(described(*widget)));
        }
    }

    void tabReachesEveryControlAndShowsIt_data() { screens(); }

    void tabReachesEveryControlAndShowsIt() {
        QFETCH(const int, stops);
        QWidget& window = show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        const QSet<QWidget*> wanted = tabStops(window);
        QCOMPARE(wanted.size(), stops);
        QSet<QWidget*> reached;
        for (int press = 0; press < stops; ++press) {
            const QImage before = window.grab().toImage();
            QWidget* const from = window.focusWidget();
            QTest::keyClick(from, Qt::Key_Tab);
            QWidget* const now = window.focusWidget();
            QVERIFY2(wanted.contains(now), qPrintable(described(*now)));
            reached.insert(now);
            const QRect place(now->mapTo(&window, QPoint(0, 0)), now->size());
            QVERIFY2(window.grab().toImage().copy(place) != before.copy(place), qPrintable(described(*now)));
        }
        QCOMPARE(reached.size(), wanted.size());
    }

    void everyTextHasItsRoom_data() { screens(); }

    // In the smallest window as in the usual one, and in one that is laid out from right to left.
    void everyTextHasItsRoom() {
        for (const Qt::LayoutDirection direction : {Qt::LeftToRight, Qt::RightToLeft}) {
            for (const bool small : {false, true}) {
                init();
                for (QWidget* top : std::initializer_list<QWidget*>{window_.get(), settingsWindow_.get()})
                    top->setLayoutDirection(direction);
                if (small)
                    window_->resize(window_->minimumSize());
                QWidget& window = show();
                QVERIFY(QTest::qWaitForWindowExposed(&window));
                int texts = 0;
                for (const QLabel* label : window.findChildren<QLabel*>()) {
                    if (!label->isVisible())
                        continue;
                    ++texts;
                    const QByteArray text = label->text().toUtf8();
                    const QSize needed = label->wordWrap()
                                             ? QSize(0, label->heightForWidth(label->width()))
                                             : label->fontMetrics().size(Qt::TextExpandTabs, label->text());
                    QVERIFY2(needed.boundedTo(label->size()) == needed, text.constData());
                    QVERIFY2(label->parentWidget()->rect().contains(label->geometry()), text.constData());
                }
                for (const QAbstractButton* button : window.findChildren<QAbstractButton*>()) {
                    if (!button->isVisible() || button->text().isEmpty())
                        continue;
                    ++texts;
                    QVERIFY2(button->fontMetrics().horizontalAdvance(button->text()) <= button->width(),
                             qPrintable(button->text()));
                }
                QVERIFY(texts > 0);
                if (window_->sidebar().isVisible())
                    QCOMPARE(window_->sidebar().x() > window_->detail().x(), direction == Qt::RightToLeft);
            }
        }
    }

    // That the desktop is told of them needs its bridge.
    void alertsSayWhatTheyShow() {
        AlertLabel line(theme_, TextRole::Body);
        const auto check = [](const QWidget& alert, const QString& text) {
            const QAccessibleInterface* const spoken =
                QAccessible::queryAccessibleInterface(const_cast<QWidget*>(&alert));
            QCOMPARE(spoken->role(), QAccessible::AlertMessage);
            QCOMPARE(spoken->text(QAccessible::Name), text);
        };
        window_->show();
        for (const char* text : {"Copied", "Saved"}) {
            window_->toast().setText(QLatin1String(text));
            check(window_->toast(), QLatin1String(text));
            line.say(QLatin1String(text), true);
            check(line, QLatin1String(text));
        }
    }

private:
    static void screens() {
        rows<int>("stops", {{"sign-in", 1},
                            {"chats", 13},
                            {"private chat with files", 12},
                            {"recording", 12},
                            {"finding", 13},
                            {"question", 2},
                            {"name", 3},
                            {"credits", 3},
                            {"keys", 6},
                            {"routes", 3},
                            {"general settings", 5},
                            {"privacy settings", 2},
                            {"model settings", 3},
                            {"settings of nobody", 2}}); // of Tab
    }

    /// What the row names.
    QWidget& show() {
        const QByteArray shown = QTest::currentDataTag();
        if (shown.contains("settings"))
            return showSettings(shown);
        MainWindow& window = *window_;
        window.sidebar().footer().setName(u"Ada"_qs);
        window.detail().setBusy(shown == "chats");
        window.detail().setPrivate(shown.contains("private"));
        window.setPage(shown == "sign-in" ? MainWindow::Page::SignIn : MainWindow::Page::Chats);
        window.signIn().setError(u"A long reason why this did not work out. "_qs.repeated(3));
        window.detail().setEmpty(shown != "finding");
        if (shown == "chats")
            window.sidebar().setRows(&rows_);
        ComposerView& composer = window.detail().composer();
        if (shown.contains("files"))
            composer.setFiles({{1, u"a.pdf"_qs, u"application/pdf"_qs, false, {}},
                               {2, u"b.png"_qs, u"image/png"_qs, true, {}}});
        if (shown == "recording")
            composer.setVoicePhase(VoicePhase::Recording);
        window.show();
        if (shown == "finding")
            window.detail().findBar().open();
        if (shown == "question")
            (new ConfirmDialog(theme_, u"Delete?"_qs, u"It goes."_qs, window))->open();
        if (shown == "name")
            (new NameDialog(theme_, u"Rename"_qs, new RenameField(theme_, u"A"_qs), u"Rename"_qs, window))
                ->open();
        if (shown == "credits") {
            CreditsState state;
            state.account = CreditsState::Account::Prepaid;
            window.credits().setState(state);
            window.credits().open();
        }
        if (shown == "keys") {
            auto* sheet = new KeysSheet(theme_, window);
            KeysState state;
            state.known = true;
            state.keys = {{u"k"_qs, u"production"_qs, u"tkl_sk_a…"_qs, false}};
            state.secret = u"tkl_sk_abc"_qs;
            sheet->setState(state);
            sheet->open();
        }
        if (shown == "routes") {
            auto* sheet = new RoutesSheet(theme_, window);
            const SheetRow row{u"Model One"_qs, u"Code"_qs, u"2 credits"_qs};
            sheet->setState({{row}, {row}, false, {}});
            sheet->open();
        }
        return window;
    }

    QWidget& showSettings(const QByteArray& shown) {
        SettingsWindow& window = *settingsWindow_;
        const bool signedIn = !shown.endsWith("nobody");
        window.setSignedIn(signedIn);
        GeneralState general;
        general.signedIn = general.hasChats = signedIn;
        window.general().setState(general);
        PrivacyState privacy;
        privacy.known = true;
        window.privacy().setState(privacy);
        ModelsState models;
        models.known = true;
        models.models = {{u"one"_qs, u"Model One"_qs, u"A lab"_qs, true},
                         {u"two"_qs, u"Model Two"_qs, {}, false}};
        window.models().setState(models);
        window.setTab(shown.startsWith("general")   ? SettingsTab::General
                      : shown.startsWith("privacy") ? SettingsTab::Privacy
                                                    : SettingsTab::Models);
        window.show();
        return window;
    }

    Theme theme_;
    QTemporaryDir folder_;
    QSettings settings_{folder_.filePath(u"s.ini"_qs), QSettings::IniFormat};
    SidebarLibrary library_;
    SidebarModel rows_{library_.sources()};
    std::unique_ptr<MainWindow> window_;
    std::unique_ptr<SettingsWindow> settingsWindow_;
};

QTEST_MAIN(TestAccessibility)
#include "TestAccessibility.moc"
