#pragma once

#include "AudioInput.h"
#include "Completion.h"
#include "Sound.h"

#include <memory>

namespace teskal::test {

/// A microphone that hears what the test says.
class FakeAudioInput final : public AudioInput {
public:
    enum class Access { Granted, Refused, Asked };

    QCoro::Task<bool> askAccess(std::stop_token stop) override {
        question = std::make_shared<CompletionSource<bool>>();
        if (access != Access::Asked)
            question->succeed(access == Access::Granted);
        return answered(question->completion(), std::move(stop));
    }
    bool start() override {
        isListening = opens;
        return opens;
    }
    void stop() override { isListening = false; }

    void hear(int ms, float amplitude = 0.5F) { Q_EMIT heard(tone(ms, amplitude)); }
    void vanish() {
        isListening = false;
        Q_EMIT lost();
    }

    Access access = Access::Granted;
    bool opens = true;
    bool isListening = false;
    std::shared_ptr<CompletionSource<bool>> question; ///< the last one; to be answered when access is Asked

private:
    static QCoro::Task<bool> answered(Completion<bool> answer, std::stop_token stop) {
        const bool granted = co_await answer.wait(stop);
        co_return granted;
    }
};

} // namespace teskal::test
