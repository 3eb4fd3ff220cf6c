#pragma once

#include <QWidget>

namespace teskal {

class InkLabel;
class Theme;

/// The greeting of a chat without messages: the mark and one line. The composer stands below it.
class EmptyChatView : public QWidget {
    Q_OBJECT

public:
    explicit EmptyChatView(const Theme& theme, QWidget* parent = nullptr);

    /// A private chat says what it is instead.
    void setPrivate(bool isPrivate);

private:
    const Theme& theme_;
    InkLabel* line_;
};

} // namespace teskal
