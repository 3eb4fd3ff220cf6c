#pragma once

#include "controls/ModalCard.h"

namespace teskal {

/// Asks before something is deleted. "Cancel" is the default.
class ConfirmDialog : public ModalCard {
    Q_OBJECT

public:
    ConfirmDialog(const Theme& theme, const QString& title, const QString& message, QWidget& window);

Q_SIGNALS:
    void confirmed();
    void cancelled();

private:
    void takeColour();

    QPushButton* delete_;
};

} // namespace teskal
