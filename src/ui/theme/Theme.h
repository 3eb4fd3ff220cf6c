#pragma once

#include "icons/IconSet.h"
#include "theme/Appearance.h"
#include "theme/Ink.h"
#include "theme/TextRole.h"

#include <QFont>
#include <QObject>
#include <QPointer>

class QApplication;

namespace teskal {

class DesktopAppearance;
class InkStyle;

/// The look of the application: which Ink is drawn with now, the fonts and the icons. The application owns
/// one and hands it by reference to every view, which it must outlive. Main thread only.
class Theme : public QObject {
    Q_OBJECT

public:
    /// Reads the desktop's own palette and font, so it is made after the application object and before
    /// anything changes that object's look.
    explicit Theme(QObject* parent = nullptr);
    ~Theme() override;

    /// Gives \a application the style, palette and font of this theme and keeps them up to date.
    void install(QApplication& application);

    [[nodiscard]] const Ink& ink() const { return ink_; }
    [[nodiscard]] const IconSet& icons() const { return icons_; }
    [[nodiscard]] QFont font(TextRole role) const;

    /// \a ms, or 0 where the user wants no motion.
    [[nodiscard]] int motion(int ms) const;

    [[nodiscard]] Appearance appearance() const { return appearance_; }
    void setAppearance(Appearance appearance);

    /// The desktop's wishes, which Appearance::System follows; owned by the theme.
    [[nodiscard]] DesktopAppearance& desktop() { return *desktop_; }

Q_SIGNALS:
    /// The ink differs from before: views take their colours again. Emitted after the palette is set.
    void changed();

private:
    void resolve();

    DesktopAppearance* desktop_;
    bool paletteIsDark_;
    QFont baseFont_;
    Appearance appearance_ = Appearance::System;
    Ink ink_;
    IconSet icons_;
    QPointer<QApplication> application_;
    QPointer<InkStyle> style_;
};

} // namespace teskal
