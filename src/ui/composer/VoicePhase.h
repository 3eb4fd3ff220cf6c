#pragma once

namespace teskal {

/// What voice input is doing, as far as the composer shows it.
enum class VoicePhase { Idle, Recording, Transcribing };

} // namespace teskal
