#pragma once

#include <QObject>

namespace teskal {

class AppModel;
class DetailView;

/// Ties the open chat's view to the application model: its title, what stands in place of messages, and the
/// buttons of its bar.
class DetailBinding final : public QObject {
    Q_OBJECT

public:
    /// Both must outlive the binding.
    DetailBinding(AppModel& model, DetailView& detail);

private:
    void showChat();

    AppModel& model_;
    DetailView& detail_;
};

} // namespace teskal
