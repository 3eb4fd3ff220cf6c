#pragma once

#include <QByteArray>
#include <QMetaType>

#include <vector>

namespace teskal::test {

/// What a RawHttpServer does with one request, step by step and byte by byte.
class RawReply {
public:
    struct Step {
        enum class Kind { Send, Pause, Close, Reset };
        Step(Kind kind_, QByteArray bytes_ = {}) : kind(kind_), bytes(std::move(bytes_)) {}
        Kind kind;
        QByteArray bytes;
    };

    /// A complete reply with Content-Length, after which the connection stays open.
    static RawReply complete(int status, const QByteArray& body, const QByteArray& extraHeaders = {});
    /// Status line and headers only. \a headers are lines that end in CR LF.
    static RawReply head(int status, const QByteArray& headers);

    RawReply& send(const QByteArray& bytes);
    RawReply& chunk(const QByteArray& bytes); ///< one piece of a chunked body; empty ends the body
    RawReply& pause();                        ///< until RawHttpServer::proceed()
    RawReply& close();
    RawReply& reset(); ///< closes the way a crash does, without what was not sent yet

    const std::vector<Step>& steps() const { return steps_; }

private:
    std::vector<Step> steps_;
};

} // namespace teskal::test

Q_DECLARE_METATYPE(teskal::test::RawReply)
