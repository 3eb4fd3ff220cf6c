#pragma once

#include "KeysBinding.h"
#include "RoutesBinding.h"
#include "Sheet.h"

#include <QObject>
#include <QPointer>

namespace teskal {

class AppModel;
class CreditsSheet;
class MainWindow;
class SheetFrame;

/// Ties the account sheets to the application model: which one is open, what it shows, what is done in it.
class SheetBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    SheetBinding(AppModel& model, MainWindow& window);

private:
    void showSheet();
    void close();
    SheetFrame& prepare(Sheet sheet);
    SheetFrame& prepareCredits();
    void showCredits();

    AppModel& model_;
    MainWindow& window_;
    KeysBinding keys_;
    RoutesBinding routes_;
    CreditsSheet* credits_ = nullptr; ///< the window's, once it was opened
    QPointer<SheetFrame> open_;       ///< the window's, too
};

} // namespace teskal
