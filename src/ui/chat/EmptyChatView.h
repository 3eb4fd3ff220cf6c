#pragma once

#include <QWidget>

namespace teskal {

class Theme;

/// The greeting of a chat without messages: the mark and one line. The composer stands below it.
class EmptyChatView : public QWidget {
    Q_OBJECT

public:
    explicit EmptyChatView(const Theme& theme, QWidget* parent = nullptr);
};

} // namespace teskal
