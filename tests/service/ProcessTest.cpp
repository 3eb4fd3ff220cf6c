#include "RawSocket.h"
#include "RunningService.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <spawn.h>
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
