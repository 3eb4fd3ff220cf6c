#pragma once

#include <QStringList>

namespace teskal::test {

/// Keeps the "[Teskal]" lines that are logged while it lives, instead of printing them. One at a time.
class LogCapture {
public:
    LogCapture() : previous_(qInstallMessageHandler(&LogCapture::take)) { current() = this; }
    ~LogCapture() {
        qInstallMessageHandler(previous_);
        current() = nullptr;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const QStringList& lines() const { return lines_; }

private:
    static LogCapture*& current() {
        static LogCapture* capture = nullptr;
        return capture;
    }
    static void take(QtMsgType type, const QMessageLogContext& context, const QString& line) {
        if (line.startsWith(QLatin1String("[Teskal]")))
            current()->lines_.append(line);
        else if (current()->previous_)
            current()->previous_(type, context, line);
    }

    QtMessageHandler previous_;
    QStringList lines_;
};

} // namespace teskal::test
