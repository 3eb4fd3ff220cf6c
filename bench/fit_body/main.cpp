// Making a long conversation fit to be sent, beside the plain loop that writes the whole list out again for
// every message: 1,000 messages, 60 MB of inline files in the last six. The plain loop runs once (it takes
// minutes on a slow machine); ours is the median of several runs.

#include "Comparison.h"
#include "FitBody.h"
#include "Measure.h"
#include "NaiveFit.h"

#include <QCoreApplication>

#include <cstdio>

using namespace teskal;
using namespace teskal::bench;

namespace {

constexpr int runs = 7;
constexpr int messageCount = 1'000;
constexpr int textLength = 600;               // characters in each message
constexpr qsizetype inlineBytes = 60'000'000; // in the last six messages
constexpr double aim = 0.25;

OutgoingAttachment image(qsizetype size) {
    OutgoingAttachment file;
    file.name = QStringLiteral("photo.png");
    file.mediaType = QStringLiteral("image/png");
    file.dataUrl = QStringLiteral("data:image/png;base64,") + QString(size, QLatin1Char('A'));
    return file;
}

QList<OutgoingMessage> conversation() {
    QList<OutgoingMessage> messages;
    for (int i = 0; i < messageCount; ++i) {
        OutgoingMessage message;
        message.role = i % 2 == 0 ? Role::User : Role::Assistant;
        while (message.content.size() < textLength)
            message.content += QStringLiteral("Some “words” of message %1.\n").arg(i);
        const bool isRecent = i >= messageCount - messagesWithFiles;
        if (isRecent || i % 10 == 0)
            message.attachments = {image(isRecent ? inlineBytes / messagesWithFiles : 1'000)};
        messages.append(message);
    }
    return messages;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QList<OutgoingMessage> messages = conversation();
    const double ours = medianMilliseconds(runs, [&] { return fitBody(messages); });
    const double bare = medianMilliseconds(runs, [&] {
        qsizetype size = 0;
        for (const OutgoingMessage& message : messages)
            size += encodeOutgoing(message).size();
        return size;
    });
    QByteArray naive;
    const double naiveMs = millisecondsOf([&] { return (naive = naiveFit(messages)).size(); });
    if (naive != fitBody(messages)) {
        std::fprintf(stderr, "what the two make is not the same\n");
        return 2;
    }
    const QString what = QStringLiteral("fit 1,000 messages (fitBody)");
    const bool met =
        printTable({{what, QStringLiteral("the plain loop"), naiveMs, ours, inlineBytes, aim},
                    {what, QStringLiteral("every message encoded once"), bare, ours, inlineBytes, 0}});
    std::printf("\n%d messages, %.0f MB inline in the last %d; %lld bytes remain.\n", messageCount,
                double(inlineBytes) / 1e6, int(messagesWithFiles), static_cast<long long>(naive.size()));
    return met ? 0 : 1;
}
