#pragma once

#include <QObject>
#include <QSize>

#include <functional>

class QWidget;

namespace teskal::bench {

constexpr QSize windowSize(1100, 760); ///< of the application's window

/// Says a word to who started this program.
void say(const char* word);

/// Calls \a done when \a window has been painted for the first time and the picture was handed over.
class FirstPicture final : public QObject {
public:
    FirstPicture(QWidget& window, std::function<void()> done);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    std::function<void()> done_;
};

} // namespace teskal::bench
