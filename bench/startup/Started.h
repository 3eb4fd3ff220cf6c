#pragma once

#include <QProcess>

#include <chrono>

namespace teskal::bench {

/// A program that shows a window and says on its standard output how far it is, for as long as the object
/// lives. One at a time.
class Started {
public:
    /// \a program lies beside this one.
    Started(const QString& program, const QStringList& arguments, const QProcessEnvironment& environment);
    /// Ends it as the desktop does and waits.
    ~Started();
    Started(const Started&) = delete;
    Started& operator=(const Started&) = delete;

    /// Milliseconds from the start until the process said \a word.
    double timeTo(const QByteArray& word);
    /// CPU time of the process and all that it has started so far, in ms.
    double cpu() const;
    /// Proportional memory of the process and all that it has started, in MB.
    double memory() const;

private:
    QProcess process_;
    std::chrono::steady_clock::time_point begin_;
};

} // namespace teskal::bench
