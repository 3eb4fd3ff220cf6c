#include "VoiceFailure.h"

#include <QCoreApplication>

namespace teskal {

namespace {

QString textOf(VoiceFailure::Kind kind) {
    if (kind == VoiceFailure::Kind::Denied)
        return QCoreApplication::translate("VoiceFailure",
                                           "Teskal needs microphone access. Turn it on in System Settings → "
                                           "Privacy & Security → Microphone.");
    return QCoreApplication::translate("VoiceFailure", "Couldn’t start recording.");
}

} // namespace

VoiceFailure::VoiceFailure(Kind kind) : Error(textOf(kind)), kind_(kind) {}

} // namespace teskal
