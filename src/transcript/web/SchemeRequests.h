#pragma once

#include "FileSource.h"
#include "RendererFiles.h"
#include "SchemeAnswer.h"
#include "Scope.h"

#include <QUrl>

#include <functional>
#include <map>

namespace teskal {

class InlineFiles;

/// What the page asks for under the private scheme.
struct SchemeRequest {
    QUrl url;
    QByteArray range; ///< the "Range" header; null when there is none
};

/// Answers the page's requests: the page's own files under the host "renderer", the user's files under the
/// host "file", neither ever under the other. Main thread only.
class SchemeRequests {
public:
    using Id = quint64;
    using Deliver = std::function<void(const SchemeAnswer&)>;

    /// \a files is null while there is no place for files at all. It and \a inlineFiles, where a file is
    /// looked for first, must outlive this object.
    SchemeRequests(RendererFiles renderer, FileSource* files, const InlineFiles& inlineFiles);
    SchemeRequests(const SchemeRequests&) = delete;
    SchemeRequests& operator=(const SchemeRequests&) = delete;

    /// Calls \a deliver once, inside this call or later, unless the request is stopped before.
    Id start(const SchemeRequest& request, Deliver deliver);
    /// The page has abandoned the request: nothing is delivered to it any more.
    void stop(Id request);

private:
    struct Live {
        Deliver deliver;
        Job lookup;
    };

    void finish(Id request, const SchemeAnswer& answer);
    void answerWithFile(Id request, const QString& fileId, const QByteArray& wanted);
    QCoro::Task<void> lookUp(Id request, QString fileId, QByteArray wanted, std::stop_token stop);

    RendererFiles renderer_;
    FileSource* files_;
    const InlineFiles& inlineFiles_;
    std::map<Id, Live> live_;
    Id lastId_ = 0;
    Scope lookups_; // last: its coroutines use the above
};

} // namespace teskal
