#include "JobStatus.h"

#include "JsonError.h"
#include "JsonText.h"

namespace teskal {

JobStatus readJobStatus(QByteArrayView body) {
    JobStatus job;
    JSONValue reply;
    try {
        reply = json::parseValue(body);
    } catch (const JsonError&) {
        return job;
    }
    job.status = reply.member(QStringLiteral("status")).text().value_or(job.status);
    job.fileId = reply.member(QStringLiteral("fileId")).text();
    job.url = reply.member(QStringLiteral("url")).text();
    job.mediaType = reply.member(QStringLiteral("mediaType")).text();
    job.lyrics = reply.member(QStringLiteral("lyrics")).text();
    job.message = reply.member(QStringLiteral("message")).text();
    return job;
}

} // namespace teskal
