#pragma once

#include <QList>
#include <QListView>
#include <QString>

namespace teskal {

class Theme;

/// One line of a list in a sheet.
struct SheetRow {
    QString title;
    QString detail; ///< quieter, behind the title
    QString figure; ///< quieter, at the far end

    friend bool operator==(const SheetRow&, const SheetRow&) = default;
};

/// Lines to read, as many as there may be: it is as tall as they are up to a limit, and scrolls beyond. Arrow
/// keys go through them, for those who listen. Its ground is a card's.
class RowList : public QListView {
    Q_OBJECT

public:
    /// At most \a mostRows are seen at once.
    RowList(const Theme& theme, int mostRows, QWidget* parent = nullptr);
    ~RowList() override;

    void setRows(const QList<SheetRow>& rows);
    [[nodiscard]] QList<SheetRow> rows() const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return {0, sizeHint().height()}; }

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    class Rows;

    int mostRows_;
    Rows* rows_;
};

} // namespace teskal
