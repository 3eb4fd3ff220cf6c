#include "AccountTour.h"

#include "TeskalApp.h"
#include "settings/SettingsWindow.h"
#include "sheets/SheetFrame.h"

namespace teskal::tour {

namespace {

void settings(TeskalApp& app, const Stage& stage) {
    SettingsWindow& window = app.settings().show(SettingsTab::General);
    stage.waitFor(QStringLiteral("the settings window"), [&] { return window.isVisible(); });
    stage.settle();
    stage.picture(QStringLiteral("23-settings"), window);
    window.confirmDeleteAll(QStringLiteral("teskal.example"));
    stage.settle();
    stage.picture(QStringLiteral("24-delete-all"), window);
    stage.press(window, Qt::Key_Escape);
    window.setTab(SettingsTab::Privacy);
    stage.waitFor(QStringLiteral("the settings"),
                  [&] { return app.model().settings().settings().has_value(); });
    stage.settle();
    stage.picture(QStringLiteral("25-privacy"), window);
    window.setTab(SettingsTab::Models);
    stage.settle();
    stage.picture(QStringLiteral("26-models"), window);
    window.setTab(SettingsTab::General);
    window.close();
    app.showWindow();
}

void keys(TeskalApp& app, const Stage& stage) {
    MainWindow& window = app.window();
    app.model().setSheet(Sheet::Keys);
    stage.waitFor(QStringLiteral("the keys"), [&] { return app.model().keys().isKnown(); });
    stage.settle();
    stage.picture(QStringLiteral("27-no-keys"), window);
    for (int stop = 0; stop < 3; ++stop) // Done, Copy, the name
        stage.press(window, Qt::Key_Tab);
    stage.type(window, QStringLiteral("production"));
    stage.press(window, Qt::Key_Return);
    stage.waitFor(QStringLiteral("the new key"),
                  [&] { return !app.model().keys().secret().isEmpty() && !app.model().keys().isLoading(); });
    stage.settle();
    stage.picture(QStringLiteral("28-new-key"), window);
    stage.press(window, Qt::Key_Escape);
}

void routes(TeskalApp& app, const Stage& stage) {
    app.model().setSheet(Sheet::Routes);
    stage.waitFor(QStringLiteral("the pool"), [&] { return !app.model().pool().isLoading(); });
    stage.settle();
    stage.picture(QStringLiteral("29-routes"), app.window());
    stage.press(app.window(), Qt::Key_Escape);
}

} // namespace

void playAccount(TeskalApp& app, const Stage& stage) {
    settings(app, stage);
    keys(app, stage);
    routes(app, stage);
}

} // namespace teskal::tour
