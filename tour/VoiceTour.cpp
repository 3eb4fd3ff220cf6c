#include "VoiceTour.h"

#include "TeskalApp.h"
#include "chat/DetailView.h"
#include "composer/ComposerView.h"

namespace teskal::tour {

void playVoice(TeskalApp& app, const Stage& stage) {
    ComposerView& composer = app.window().detail().composer();
    composer.setVoicePhase(VoicePhase::Recording);
    composer.setElapsed(65);
    composer.setLevel(0.6);
    stage.settle();
    stage.picture(QStringLiteral("40-recording"), app.window());
    composer.setVoicePhase(VoicePhase::Transcribing);
    stage.settle();
    stage.picture(QStringLiteral("41-transcribing"), app.window());
    composer.setVoicePhase(VoicePhase::Idle);
}

} // namespace teskal::tour
