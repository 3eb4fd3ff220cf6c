#pragma once

/// Sizes and spacing in device-independent pixels, on a grid of 4; durations in ms.
namespace teskal::metrics {

inline constexpr int control = 32;
inline constexpr int row = 34;
inline constexpr int toolbar = 48;
inline constexpr int menuBar = 30;
inline constexpr int icon = 18;

inline constexpr int radiusSmall = 8; ///< rows and small controls
inline constexpr int radiusCard = 12;
inline constexpr int radiusComposer = 20;

inline constexpr int column = 700;      ///< widest transcript and composer
inline constexpr int emptyColumn = 620; ///< the composer of an empty chat
inline constexpr int air = 24;          ///< least space on either side of the column
inline constexpr int margin = 12;

inline constexpr int sidebarDefault = 268;
inline constexpr int sidebarLeast = 200;
inline constexpr int sidebarMost = 400;

inline constexpr int focusRing = 2;
inline constexpr int motion = 140;

} // namespace teskal::metrics
