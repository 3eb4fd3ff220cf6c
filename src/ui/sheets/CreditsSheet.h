#pragma once

#include "SheetFrame.h"

#include <optional>

namespace teskal {

class AlertLabel;
class InkLabel;
class SegmentedPicker;

/// What the credits sheet shows.
struct CreditsState {
    enum class Account { Unknown, Free, Prepaid };
    enum class Activity { None, Checking, OpeningCheckout, CheckoutOpened };

    Account account = Account::Unknown;
    std::optional<qint64> balance;   ///< in credits
    std::optional<double> creditUsd; ///< the price of one
    Activity activity = Activity::None;
    QString error; ///< empty when nothing failed

    friend bool operator==(const CreditsState&, const CreditsState&) = default;
};

/// The balance, what credits cost, and buying more.
class CreditsSheet : public SheetFrame {
    Q_OBJECT

public:
    CreditsSheet(const Theme& theme, QWidget& window);

    void setState(const CreditsState& state);

Q_SIGNALS:
    void addRequested(int credits);

private:
    QWidget* makePrepaid();
    QWidget* makeAmountRow(QWidget* parent);
    QLayout* makeFoot(QWidget* parent);
    void showAccount(const CreditsState& state);
    void showStatus(const CreditsState& state);
    void setAdding(bool adding);

    AlertLabel* message_; ///< instead of the balance
    InkLabel* balance_;
    InkLabel* price_;
    AlertLabel* status_;
    SegmentedPicker* amount_;
    QPushButton* add_;
    QWidget* prepaid_;
};

} // namespace teskal
