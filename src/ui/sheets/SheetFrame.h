#pragma once

#include "controls/ModalCard.h"

class QVBoxLayout;

namespace teskal {

/// The frame of the account sheets: a title, the content and "Done".
class SheetFrame : public ModalCard {
    Q_OBJECT

public:
    /// Lies over all of \a window.
    SheetFrame(const Theme& theme, const QString& title, QWidget& window);

Q_SIGNALS:
    /// The user is done with the sheet.
    void doneRequested();

protected:
    /// Where a subclass puts its content, of contentWidth.
    [[nodiscard]] QVBoxLayout& content() { return *content_; }

    static constexpr int contentWidth = 480;

private:
    QVBoxLayout* content_;
};

} // namespace teskal
