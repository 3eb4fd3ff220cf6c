#pragma once

#include "Stage.h"

namespace teskal {
class ComposerView;
class TeskalApp;
} // namespace teskal

namespace teskal::tour {

/// What the composer shows when more is done with it than typing. There need be no microphone and no files:
/// it is told what they would tell.
class ComposerTour {
public:
    ComposerTour(TeskalApp& app, const Stage& stage);
    void play();

private:
    void files();
    void attachPanel();
    void longText();
    void spelling();
    void voice();

    TeskalApp& app_;
    const Stage& stage_;
    ComposerView& composer_;
};

} // namespace teskal::tour
