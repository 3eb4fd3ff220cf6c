#pragma once

namespace teskal {

/// How far reading a message aloud has come.
enum class AudioState { Idle, Loading, Playing };

} // namespace teskal
