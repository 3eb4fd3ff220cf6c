#pragma once

#include <QObject>
#include <QString>
#include <QTimer>

class QWebEngineFindTextResult;

namespace teskal {

class WebPagePort;

/// Finds a text in the transcript. The search follows what the page shows: it is made again when messages
/// come, change or are drawn, without moving the reader.
class PageFinder final : public QObject {
    Q_OBJECT

public:
    /// \a port must outlive the finder.
    explicit PageFinder(WebPagePort& port, QObject* parent = nullptr);

    /// Marks every \a text, whatever its case, and goes to the first; an empty one ends the search.
    void search(const QString& text);
    void next() { find(Step::Go); }
    void previous() { find(Step::Go, true); }

Q_SIGNALS:
    /// There are \a total places; the one that the reader was taken to is number \a active, from 1. Both are
    /// 0 when there is none.
    void counted(int active, int total);

private:
    /// What a call of the engine is for.
    enum class Step {
        Go,       ///< the reader goes there
        Recount,  ///< the search has begun anew, one place further on
        StepBack, ///< to the place where it was before
    };

    void find(Step step, bool backwards = false);
    void found(Step step, const QWebEngineFindTextResult& result);
    void contentChanged();
    void repeat();

    WebPagePort& port_;
    QString text_;
    /// Counts the calls of the engine: the answer to an older one says nothing any more.
    quint64 calls_ = 0;
    QTimer repeatSoon_;
};

} // namespace teskal
