#pragma once

#include "controls/ModalCard.h"

class QLineEdit;

namespace teskal {

/// Asks for a name. While the field is blank there is nothing to submit.
class NameDialog : public ModalCard {
    Q_OBJECT

public:
    /// Owns \a field, which is filled in already; \a submit is the text of the button that takes the name.
    NameDialog(const Theme& theme, const QString& title, QLineEdit* field, const QString& submit,
               QWidget& window);

Q_SIGNALS:
    /// \a name is trimmed and not empty.
    void submitted(const QString& name);
    void cancelled();

private:
    void submit();
    void allowSubmit();

    QLineEdit* field_;
    QPushButton* submit_;
};

} // namespace teskal
