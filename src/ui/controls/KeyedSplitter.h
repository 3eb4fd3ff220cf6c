#pragma once

#include <QSplitter>

namespace teskal {

/// Two widgets side by side with a thin line between them, which Tab reaches and the arrow keys move; Home
/// and End move it as far as it goes.
class KeyedSplitter final : public QSplitter {
    Q_OBJECT

public:
    /// Width of the line, in pixels, while it has not the focus.
    static constexpr int line = 1;

    /// \a name is what screen readers call the line.
    explicit KeyedSplitter(const QString& name, QWidget* parent = nullptr);

protected:
    QSplitterHandle* createHandle() override;

private:
    QString name_;
};

} // namespace teskal
