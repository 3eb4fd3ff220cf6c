#pragma once

#include <QLabel>

namespace teskal {

/// A line of text that screen readers speak whenever it changes.
class SpokenLabel final : public QLabel {
    Q_OBJECT

public:
    explicit SpokenLabel(QWidget* parent = nullptr);

    /// Shows \a text, and has it spoken unless it stands there already.
    void say(const QString& text);
};

} // namespace teskal
