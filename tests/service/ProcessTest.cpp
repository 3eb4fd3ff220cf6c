#include "RawSocket.h"
#include "RunningService.h"
#include "StateFile.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sqlite3.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace teskal::service;

namespace {

/// The executable, started with its output caught.
class Program {
public:
    explicit Program(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), TESKAL_SERVICE_PROGRAM);
        std::vector<char*> argv;
        for (std::string& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        int out[2];
        int err[2];
        if (::pipe(out) != 0 || ::pipe(err) != 0)
            std::abort();
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, out[1], 1);
        posix_spawn_file_actions_adddup2(&actions, err[1], 2);
        for (const int fd : {out[0], out[1], err[0], err[1]})
            posix_spawn_file_actions_addclose(&actions, fd);
        if (::posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ) != 0)
            std::abort();
        posix_spawn_file_actions_destroy(&actions);
        ::close(out[1]);
        ::close(err[1]);
        out_ = out[0];
        err_ = err[0];
    }
    ~Program() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
        ::close(out_);
        ::close(err_);
    }

    std::string firstLine() const {
        std::string line;
        for (char c; ::read(out_, &c, 1) == 1 && c != '\n';)
            line += c;
        return line;
    }
    std::string errors() const {
        std::string text;
        for (char c; ::read(err_, &c, 1) == 1;)
            text += c;
        return text;
    }
    pid_t pid() const { return pid_; }
    /// Waits for the end; the exit status, or -1 when a signal ended it.
    int status() {
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    pid_t pid_ = 0;
    int out_ = -1;
    int err_ = -1;
};

int portOf(const std::string& line) {
    const std::string expected = "listening on http://127.0.0.1:";
    EXPECT_TRUE(line.starts_with(expected)) << line;
    return line.starts_with(expected) ? std::stoi(line.substr(expected.size())) : 0;
}

std::string bytesOf(const std::string& path) {
    if (!std::filesystem::is_regular_file(path))
        return {};
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// Makes a database by someone else's hand.
void makeDatabase(const std::string& path, const char* sql) {
    sqlite3* database = nullptr;
    EXPECT_EQ(sqlite3_open(path.c_str(), &database), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(database, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(database);
    sqlite3_close(database);
}

} // namespace

TEST(Process, SaysWhereItListensAndEndsOnASignal) {
    for (const int signal : {SIGTERM, SIGINT}) {
        Program program({"--control"});
        const int port = portOf(program.firstLine());
        RawSocket waiting(port); // a long wait that must not hold up the end
        waiting.send("GET /control/wait?path=/never&timeoutMs=60000 HTTP/1.1\r\n\r\n");
        RawSocket reading(port);
        reading.send("GET /status HTTP/1.1\r\n\r\n");
        EXPECT_EQ(reading.read(12), "HTTP/1.1 200");
        const auto before = std::chrono::steady_clock::now();
        ::kill(program.pid(), signal);
        EXPECT_EQ(program.status(), 0);
        EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(2));
    }
}

TEST(Process, ATakenPortIsAClearError) {
    Program first({"--port", "0"});
    const std::string port = std::to_string(portOf(first.firstLine()));
    Program second({"--port", port});
    EXPECT_EQ(second.status(), 2);
    EXPECT_EQ(second.errors(), "teskal-local-service: port " + port + " on 127.0.0.1 is taken\n");
    Program wrong({"--nonsense"});
    EXPECT_EQ(wrong.status(), 2);
    EXPECT_NE(wrong.errors().find("--nonsense"), std::string::npos);
}

TEST(Process, EndsWithTheProcessItBelongsTo) {
    Program owner({});
    owner.firstLine();
    Program program({"--parent-pid", std::to_string(owner.pid())});
    portOf(program.firstLine());
    ::kill(owner.pid(), SIGTERM);
    EXPECT_EQ(owner.status(), 0);
    EXPECT_EQ(program.status(), 0);
}

TEST(Process, AStateFileThatIsNotItsOwnIsLeftAlone) {
    const StateFile text;
    std::ofstream(text.path())
        << "This is a letter, and longer than the header of a database would have to be, so "
           "that nobody takes it for an empty one by mistake.";
    const StateFile foreign;
    makeDatabase(foreign.path(), "CREATE TABLE letters (text)");
    const StateFile newer;
    makeDatabase(newer.path(),
                 "CREATE TABLE chats (id); PRAGMA application_id = 1414220883; PRAGMA user_version = 99");
    const StateFile folder;
    std::filesystem::create_directory(folder.path());
    const StateFile missing;
    const std::pair<std::string, const char*> cases[] = {{text.path(), "not a database"},
                                                         {foreign.path(), "another program"},
                                                         {newer.path(), "another version"},
                                                         {folder.path(), "cannot be opened"},
                                                         {missing.path() + "/below", "cannot be opened"}};
    for (const auto& [path, reason] : cases) {
        SCOPED_TRACE(path);
        const std::string before = bytesOf(path);
        Program program({"--state", path});
        EXPECT_EQ(program.status(), 2);
        EXPECT_NE(program.errors().find(reason), std::string::npos) << reason;
        EXPECT_EQ(bytesOf(path), before);
    }
}

TEST(Process, AKilledServiceLeavesAStateThatTheNextOneReads) {
    const StateFile file;
    httplib::Headers headers;
    for (int round = 0; round < 4; ++round) {
        SCOPED_TRACE(round);
        Program program({"--state", file.path(), "--auto-consent"});
        httplib::Client client("127.0.0.1", portOf(program.firstLine()));
        if (round == 0)
            headers = {{"Authorization", "Bearer " + signInAt(client)["access_token"].get<std::string>()}};
        const auto listed = client.Get("/api/chats", headers);
        ASSERT_TRUE(listed && listed->status == 200) << "the sign-in outlives the process";
        EXPECT_EQ(Json::parse(listed->body)["chats"].size(), static_cast<std::size_t>(round));
        const Json chat = {{"id", "chat-" + std::to_string(round)}, {"updatedAt", round + 1}};
        const auto stored =
            client.Put("/api/chats", headers, Json{{"chat", chat}}.dump(), "application/json");
        EXPECT_TRUE(stored && stored->status == 200);
        ::kill(program.pid(), SIGKILL);
        EXPECT_EQ(program.status(), -1);
    }
    EXPECT_EQ(file.mode(), 0600u);
}
