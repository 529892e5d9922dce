#pragma once

// Sizes the screens share, in one place.
namespace brightloom::ui::metrics {

inline constexpr int bubbleMaxWidth = 480; // a chat bubble
inline constexpr int pickerWidth = 380;    // the "Compile on" choice
inline constexpr int columnMaxWidth = 900; // the new project screen's column
inline constexpr int composerCorner = 16;  // the composer's card
inline constexpr int bubbleCorner = 10;    // a chat bubble
inline constexpr int bubblePaddingX = 12;  // a bubble's inner spacing, left and right
inline constexpr int bubblePaddingY = 8;   // a bubble's inner spacing, top and bottom
inline constexpr int appIconSide = 96;     // the app header's icon tile
inline constexpr int galleryTileMinWidth = 210;
inline constexpr int gallerySpacing = 12;
inline constexpr int logBoxMaxHeight = 160; // a failed local build's log
inline constexpr int pagePadding = 24;      // around a screen's content
inline constexpr int treeIndent = 20;       // per level of the version tree
inline constexpr int treeIndentLevels = 12; // deeper levels are not indented further

} // namespace brightloom::ui::metrics
