#pragma once

#include <QObject>

class QSocketNotifier;

namespace teskal {

/// Turns SIGTERM, SIGINT and SIGHUP into a Qt signal on the main thread. At most one object at a time.
class TerminationSignals final : public QObject {
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received();

private:
    int descriptor_;
    QSocketNotifier* notifier_;
};

} // namespace teskal
