#include "AttachmentIntake.h"

#include "Attachments.h"
#include "Columns.h"
#include "SampleFiles.h"
#include "TestFiles.h"

#include <QUrl>

using namespace teskal::test;

/// Files being prepared beside the main thread.
class TestAttachmentIntake final : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() {
        const auto write = [this](const char* name, const QByteArray& bytes) {
            writeFile(url(name).toLocalFile(), bytes);
        };
        write("slow.png", encoded(noise(3000, 1000), "png", 100)); // takes the worker a while
        write("quick.png", encoded(quarters(20, 20), "png"));
        write("notes.txt", "hello");
    }

    void init() {
        ends_.clear();
        intake_ = std::make_unique<AttachmentIntake>();
        connect(intake_.get(), &AttachmentIntake::ready, this,
                [this](quint64 number, const Attachment& made) {
                    ends_.append({number, made.name});
                });
        connect(intake_.get(), &AttachmentIntake::failed, this, [this](quint64 number, const QString& text) {
            ends_.append({number, text});
        });
    }

    void endsInOrderFromTheEventLoop() {
        const quint64 slow = intake_->add(url("slow.png"));
        const quint64 text = intake_->add(url("notes.txt"));
        const quint64 quick = intake_->add(url("quick.png"));
        const quint64 pasted = intake_->add(quarters(30, 30), u"Pasted image.png"_qs);
        const quint64 nothing = intake_->add(QImage(), u"Dropped image.png"_qs);
        QVERIFY(ends_.isEmpty());
        QVERIFY(waitForEnds(5));
        const QList<std::pair<quint64, QString>> expected{
            {slow, u"slow.jpg"_qs},
            {text, AttachmentError::unsupported(u"notes.txt"_qs).text()},
            {quick, u"quick.png"_qs},
            {pasted, u"Pasted image.png"_qs},
            {nothing, AttachmentError::unreadable(u"Dropped image.png"_qs).text()}};
        QCOMPARE(ends_, expected);
    }

    void cancelledFilesAreNotHeardOf() {
        const quint64 running = intake_->add(url("slow.png"));
        const quint64 waiting = intake_->add(url("notes.txt"));
        const quint64 last = intake_->add(url("quick.png"));
        intake_->cancel(running);
        intake_->cancel(waiting);
        intake_->cancel(waiting);
        intake_->cancel(last + 1);
        QVERIFY(waitForEnds(1));
        QCOMPARE(ends_.first().first, last);
        intake_->cancel(last); // done
        const quint64 again = intake_->add(url("quick.png"));
        QVERIFY(again > last);
        QVERIFY(waitForEnds(2));
        QCOMPARE(ends_.last().first, again);
    }

    void cancelledFromAnEnd() {
        QList<quint64> numbers;
        for (int i = 0; i < 3; ++i)
            numbers.append(intake_->add(url("quick.png")));
        connect(intake_.get(), &AttachmentIntake::ready, this, [&](quint64 number) {
            if (number == numbers[0])
                intake_->cancel(numbers[1]);
        });
        QVERIFY(waitForEnds(2));
        QCOMPARE(ends_[0].first, numbers[0]);
        QCOMPARE(ends_[1].first, numbers[2]);
    }

    void goneInTheMiddle() {
        for (int i = 0; i < 6; ++i)
            intake_->add(url("slow.png"));
        intake_.reset();
        runQueued();
        QVERIFY(ends_.isEmpty());
    }

    void goneFromAnEnd() {
        intake_->add(url("quick.png"));
        intake_->add(url("quick.png"));
        connect(intake_.get(), &AttachmentIntake::ready, this, [this] { intake_.reset(); });
        QVERIFY(waitForEnds(1));
        runQueued();
        QCOMPARE(ends_.size(), 1);
    }

private:
    QUrl url(const char* name) const { return QUrl::fromLocalFile(folder_.filePath(QLatin1String(name))); }
    bool waitForEnds(qsizetype count) {
        return waitUntil([&] { return ends_.size() == count; }, std::chrono::seconds(30));
    }

    QTemporaryDir folder_;
    std::unique_ptr<AttachmentIntake> intake_;
    QList<std::pair<quint64, QString>> ends_; ///< number, and name or text
};

QTEST_GUILESS_MAIN(TestAttachmentIntake)
#include "TestAttachmentIntake.moc"
