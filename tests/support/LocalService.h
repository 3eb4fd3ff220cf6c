#pragma once

#include <QProcess>
#include <QStringList>
#include <QUrl>

namespace teskal::test {

/// The local service in a process of its own, on a free port, for the length of a test.
class LocalService {
public:
    /// Starts it with consent given by itself, the control interface, and no pause between pieces of an
    /// answer; \a arguments come on top. Returns once it listens; ends the test program when it does not.
    explicit LocalService(const QStringList& arguments = {});
    /// Ends it and waits for its end.
    ~LocalService();
    LocalService(const LocalService&) = delete;
    LocalService& operator=(const LocalService&) = delete;

    /// http://127.0.0.1:PORT, without a path.
    const QUrl& origin() const { return origin_; }
    QUrl url(const QString& path) const;

private:
    QProcess process_;
    QUrl origin_;
};

} // namespace teskal::test
