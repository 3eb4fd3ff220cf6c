#include "SerialWorker.h"

#include <QPointer>

#include <atomic>

namespace teskal {

struct SerialWorker::Item {
    Work work;
    Work done;
    std::atomic<bool> hasRun = false;
};

SerialWorker::SerialWorker(QObject* parent) : QObject(parent) {
    thread_.setMaxThreadCount(1);
}

SerialWorker::~SerialWorker() {
    thread_.waitForDone();
}

void SerialWorker::run(Work work, Work done) {
    auto item = std::make_shared<Item>();
    item->work = std::move(work);
    item->done = std::move(done);
    queue_.push_back(item);
    thread_.start([this, item] {
        item->work();
        item->work = nullptr; // what it held is given up here, not on the main thread
        item->hasRun = true;
        QMetaObject::invokeMethod(this, &SerialWorker::collect, Qt::QueuedConnection);
    });
}

void SerialWorker::finish() {
    const QPointer<SerialWorker> self(this);
    while (self && !queue_.empty()) {
        thread_.waitForDone();
        collect();
    }
}

void SerialWorker::collect() {
    const QPointer<SerialWorker> self(this);
    while (self && !queue_.empty() && queue_.front()->hasRun) {
        const std::shared_ptr<Item> item = queue_.front();
        queue_.pop_front();
        if (item->done)
            item->done();
    }
}

} // namespace teskal
