#pragma once

/// Sizes that the dialogs share, in device-independent pixels.
namespace teskal::metrics {

inline constexpr int dialog = 400;
inline constexpr int dialogPadding = 20;
inline constexpr int dialogTextGap = 8;
inline constexpr int dialogButtonGap = 8;

} // namespace teskal::metrics
