#pragma once

#include "JsonError.h"

#include <QByteArray>

#include <algorithm>
#include <memory>

namespace teskal::test {

/// The text of the JsonError that \a work throws; null when it throws none.
template<typename Work>
QString jsonErrorOf(Work&& work) {
    try {
        work();
    } catch (const JsonError& error) {
        return error.text();
    }
    return {};
}

/// A copy of a text in a block of exactly its size, so that the address sanitizer sees reads behind it.
class ExactCopy {
public:
    explicit ExactCopy(QByteArrayView text) : bytes_(new char[std::size_t(text.size())]), size_(text.size()) {
        std::copy(text.begin(), text.end(), bytes_.get());
    }
    QByteArrayView view() const { return {bytes_.get(), size_}; }

private:
    std::unique_ptr<char[]> bytes_;
    qsizetype size_;
};

/// Chats that use every member and every kind of character.
inline QByteArray sampleChats() {
    return R"([{"id":"chat-1","title":"Größe \"so\" 模型 🙂","createdAt":1700000000000,"updatedAt":1700000000500.5,)"
           R"("messages":[{"id":"m1","role":"user","content":"a\\b\n\tc\u0001\u20ac","attachments":[)"
           R"({"name":"a.png","mediaType":"image/png","dataUrl":"data:image/png;base64,AAAA","dropped":true},)"
           R"({"name":"b","mediaType":"application/pdf","fileId":"f1"}]},)"
           R"({"id":"m2","role":"assistant","content":"\ud83d\ude42 lone \ud83d end",)"
           R"("route":{"model":"x","score":0.25,"list":[1,null,true,"1",{}]},"activity":[],"pending":true,)"
           R"("error":{"code":"CUT_OFF","message":"Cut."},"media":{"type":"video","operation":{"job":"j"},)"
           R"("startedAt":1e400}}]},{"id":"chat-2","title":"","createdAt":0,"updatedAt":-1,"messages":[]}])";
}

} // namespace teskal::test
