#pragma once

#include <QObject>

namespace teskal {

class AppModel;
class KeysSheet;
class MainWindow;
class SheetFrame;

/// Ties the keys sheet to the account's keys.
class KeysBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    KeysBinding(AppModel& model, MainWindow& window);

    /// The sheet, with what it shows on its way; made when it is first asked for.
    SheetFrame& prepare();

private:
    void makeSheet();
    void show();

    AppModel& model_;
    MainWindow& window_;
    KeysSheet* sheet_ = nullptr; ///< the window's
};

} // namespace teskal
