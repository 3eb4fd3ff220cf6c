#include "Columns.h"
#include "theme/Appearance.h"
#include "theme/DesktopAppearance.h"
#include "theme/Ink.h"
#include "theme/Theme.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include <algorithm>
#include <cmath>

using namespace teskal::test;

namespace {

double luminance(const QColor& colour) {
    const auto linear = [](double c) {
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) +
           0.0722 * linear(colour.blueF());
}

// WCAG 2.1, "contrast ratio".
double contrast(const QColor& text, const QColor& ground) {
    const double a = luminance(text);
    const double b = luminance(ground);
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

const QString appearanceGroup = u"org.freedesktop.appearance"_qs;
const QString schemeKey = u"color-scheme"_qs;

} // namespace

class TestTheme : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void contrastOfText_data() {
        columns<QColor, QColor, double>("text", "ground", "least");
        for (const bool dark : {false, true}) {
            const Ink ink = Ink::forLook(dark);
            const auto row = [&](const char* name, const QColor& text, const QColor& ground,
                                 double least = 4.5) {
                QTest::addRow("%s, %s", name, dark ? "dark" : "light") << text << ground << least;
            };
            row("fg on page", ink.fg, ink.page);
            row("fg on card", ink.fg, ink.card);
            row("fg on fill", ink.fg, ink.fill);
            row("fg on a selected row", ink.fg, flattened(ink.selected(), ink.page));
            row("fg on selected text", ink.fg, ink.palette().color(QPalette::Highlight));
            row("page on fg", ink.page, ink.fg);
            row("danger on page", ink.danger, ink.page);
            row("muted on card", ink.muted, ink.card);
            // The given greys of the light look are fainter than 4.5 there; they must not become fainter
            // still.
            row("muted on page", ink.muted, ink.page, dark ? 4.5 : 4.4);
            row("muted on fill", ink.muted, ink.fill, dark ? 4.5 : 4.2);
            row("subtle on page", ink.subtle, ink.page, dark ? 4.5 : 2.3);
            row("subtle on card", ink.subtle, ink.card, dark ? 4.5 : 2.5);
        }
    }

    void contrastOfText() {
        FETCH(QColor, text, QColor, ground, double, least);
        const double ratio = contrast(text, ground);
        qInfo("%s: %.2f", QTest::currentDataTag(), ratio);
        QVERIFY2(ratio >= least, qPrintable(QString::number(ratio)));
    }

    void systemAppearanceFollowsTheDesktop() {
        Theme theme;
        theme.setAppearance(Appearance::Light);
        QSignalSpy changed(&theme, &Theme::changed);
        const auto desktopSays = [&](uint scheme) {
            theme.desktop().settingChanged(appearanceGroup, schemeKey, QDBusVariant(scheme));
        };
        desktopSays(1);
        QVERIFY2(!theme.ink().dark, "a chosen look stays whatever the desktop does");
        theme.setAppearance(Appearance::System);
        QVERIFY(theme.ink().dark);
        desktopSays(2);
        QVERIFY(!theme.ink().dark);
        desktopSays(1);
        desktopSays(1);
        QVERIFY(theme.ink().dark);
        QCOMPARE(changed.count(), 3);
    }

    void desktopSettings_data() {
        const auto row = columns<QString, QString, QVariant, bool>("group", "key", "value", "reported");
        const QVariant dark = QVariant::fromValue(1U);
        row("dark", appearanceGroup, schemeKey, dark, true);
        row("wrapped once more", appearanceGroup, schemeKey, QVariant::fromValue(QDBusVariant(dark)), true);
        row("no preference", appearanceGroup, schemeKey, QVariant::fromValue(0U), false);
        row("not a number", appearanceGroup, schemeKey, QVariant(u"dark"_qs), false);
        row("another key", appearanceGroup, "accent-color", dark, false);
        row("another group", "org.example", schemeKey, dark, false);
        row("less motion", appearanceGroup, "reduced-motion", dark, true);
        row("no animations", "org.gnome.desktop.interface", "enable-animations", QVariant(false), true);
    }

    void desktopSettings() {
        FETCH(QString, group, QString, key, QVariant, value, bool, reported);
        DesktopAppearance desktop;
        QSignalSpy changed(&desktop, &DesktopAppearance::changed);
        desktop.settingChanged(group, key, QDBusVariant(value));
        desktop.settingChanged(group, key, QDBusVariant(value));
        QCOMPARE(changed.count(), reported ? 1 : 0);
        const bool aboutMotion = key != schemeKey;
        QCOMPARE(desktop.reducedMotion(), reported && aboutMotion);
        QCOMPARE(desktop.scheme() == DesktopAppearance::Scheme::Dark, reported && !aboutMotion);
    }

    // The portal's end is a second connection of this program; it answers no questions, but its signals
    // arrive.
    void portalIsWatched() {
        if (!qEnvironmentVariableIsSet("DBUS_SESSION_BUS_ADDRESS"))
            QSKIP("there is no session bus; the test ui_theme_dbus brings one");
        QDBusConnection portal = QDBusConnection::connectToBus(QDBusConnection::SessionBus, u"portal"_qs);
        QVERIFY(portal.registerService(u"org.freedesktop.portal.Desktop"_qs));
        DesktopAppearance desktop;
        desktop.connectToPortal();
        QSignalSpy changed(&desktop, &DesktopAppearance::changed);
        QDBusMessage signal =
            QDBusMessage::createSignal(u"/org/freedesktop/portal/desktop"_qs,
                                       u"org.freedesktop.portal.Settings"_qs, u"SettingChanged"_qs);
        signal.setArguments({appearanceGroup, schemeKey, QVariant::fromValue(QDBusVariant(1U))});
        QVERIFY(portal.send(signal));
        QTRY_COMPARE(desktop.scheme(), DesktopAppearance::Scheme::Dark);
        QCOMPARE(changed.count(), 1);
    }
};

QTEST_MAIN(TestTheme)
#include "TestTheme.moc"
