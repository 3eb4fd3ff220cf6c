#include "api/JobRoutes.h"

#include "AnswerTexts.h"
#include "SampleVideo.h"
#include "Sound.h"
#include "api/SignedIn.h"

namespace teskal::service {

namespace {

StoredFile resultOf(const Job& job) {
    return job.kind == "music" ? StoredFile{"audio/wav", melody(job.prompt)}
                               : StoredFile{"video/webm", sampleVideo()};
}

Json finished(const Job& job) {
    if (job.fails)
        return {{"status", "error"},
                {"message", job.kind == "music"
                                ? "The song broke off half-way. Ask again to make a new one."
                                : "The video broke off half-way. Ask again to make a new one."}};
    Json reply = {{"status", "done"},
                  {"fileId", job.fileId},
                  {"mediaType", job.kind == "music" ? "audio/wav" : "video/webm"}};
    if (job.kind == "music")
        reply["lyrics"] = texts::songLyrics();
    return reply;
}

HttpReply jobReply(const std::string& kind, const HttpRequest& request, SharedState& state,
                   const std::string& account) {
    const std::string id = formValue(request.query, "job");
    return state.with([&](ServiceState& s) {
        auto job = s.jobs.find(account, kind, id);
        if (!job)
            return errorReply(404, "This job is not known here.", "NOT_FOUND");
        if (s.clock.nowMs() < job->dueMs)
            return jsonReply(200, {{"status", "pending"}});
        if (!job->fails && job->fileId.empty()) {
            job->fileId = s.files.add(account, resultOf(*job));
            s.jobs.setFile(account, id, job->fileId);
        }
        return jsonReply(200, finished(*job));
    });
}

} // namespace

HttpReply getVideoJob(const HttpRequest& request, SharedState& state, const std::string& account) {
    return jobReply("video", request, state, account);
}

HttpReply getMusicJob(const HttpRequest& request, SharedState& state, const std::string& account) {
    return jobReply("music", request, state, account);
}

} // namespace teskal::service
