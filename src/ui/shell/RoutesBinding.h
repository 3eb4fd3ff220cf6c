#pragma once

#include <QObject>

namespace teskal {

class AppModel;
class MainWindow;
class RoutesSheet;
class SheetFrame;

/// Ties the routes sheet to the answers of the saved chats and to the pool of models.
class RoutesBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    RoutesBinding(AppModel& model, MainWindow& window);

    /// The sheet, with what it shows on its way; made when it is first asked for.
    SheetFrame& prepare();

private:
    void show();

    AppModel& model_;
    MainWindow& window_;
    RoutesSheet* sheet_ = nullptr; ///< the window's
};

} // namespace teskal
