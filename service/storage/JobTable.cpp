#include "storage/JobTable.h"

namespace teskal::service {

void JobTable::add(const std::string& account, const Job& job) {
    database_.run(
        "INSERT INTO jobs (account, id, kind, prompt, due, fails, file) VALUES (?, ?, ?, ?, ?, ?, '')",
        account, job.id, job.kind, job.prompt, job.dueMs, job.fails);
}

std::optional<Job> JobTable::find(const std::string& account, const std::string& kind,
                                  const std::string& id) {
    const auto row =
        database_.query("SELECT prompt, due, fails, file FROM jobs WHERE account = ? AND id = ? AND kind = ?",
                        account, id, kind);
    if (!row->next())
        return std::nullopt;
    return Job{id, kind, row->text(0), row->integer(1), row->integer(2) != 0, row->text(3)};
}

void JobTable::setFile(const std::string& account, const std::string& id, const std::string& fileId) {
    database_.run("UPDATE jobs SET file = ? WHERE account = ? AND id = ?", fileId, account, id);
}

} // namespace teskal::service
