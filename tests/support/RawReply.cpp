#include "RawReply.h"

namespace teskal::test {

RawReply RawReply::head(int status, const QByteArray& headers) {
    RawReply reply;
    reply.send("HTTP/1.1 " + QByteArray::number(status) + " Status\r\n" + headers + "\r\n");
    return reply;
}

RawReply RawReply::complete(int status, const QByteArray& body, const QByteArray& extraHeaders) {
    auto reply = head(status, extraHeaders + "Content-Length: " + QByteArray::number(body.size()) + "\r\n");
    return reply.send(body);
}

RawReply& RawReply::send(const QByteArray& bytes) {
    steps_.emplace_back(Step::Kind::Send, bytes);
    return *this;
}

RawReply& RawReply::chunk(const QByteArray& bytes) {
    return send(QByteArray::number(bytes.size(), 16) + "\r\n" + bytes + "\r\n");
}

RawReply& RawReply::pause() {
    steps_.emplace_back(Step::Kind::Pause);
    return *this;
}

RawReply& RawReply::close() {
    steps_.emplace_back(Step::Kind::Close);
    return *this;
}

RawReply& RawReply::reset() {
    steps_.emplace_back(Step::Kind::Reset);
    return *this;
}

} // namespace teskal::test
