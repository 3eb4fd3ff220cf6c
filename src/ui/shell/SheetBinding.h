#pragma once

#include <QObject>

namespace teskal {

class AppModel;
class CreditsSheet;
class MainWindow;

/// Ties the account sheets to the application model: which one is open, what it shows, what is done in it.
class SheetBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    SheetBinding(AppModel& model, MainWindow& window);

private:
    void showSheet();
    void openCredits();
    void showCredits();

    AppModel& model_;
    MainWindow& window_;
    CreditsSheet* credits_ = nullptr; ///< the window's, once it was opened
};

} // namespace teskal
