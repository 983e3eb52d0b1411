#pragma once

// The places the desktop gives windows that have none of their own, worked
// out without a screen, so that a session written by the headless runner
// opens at a usable size in the desktop.

#include "app/frmQuorvelMain.h"

namespace quorvel {

// A 1024 x 768 screen at 15 twips a pixel: what a frame without a screen
// takes its default place from.
inline constexpr float kPlainScreenWidth = 15360;
inline constexpr float kPlainScreenHeight = 11520;

// The frame's place with no settings stored: the middle two thirds of the
// screen, as LoadStartupSettings gives it.
WindowPlacement DefaultFramePlacement(float screenWidth = kPlainScreenWidth, float screenHeight = kPlainScreenHeight);

// The `index`th device window (from 0) as the desktop opens it: room for its
// panel (as much right of and below the controls as there is left of and
// above them), its statistics line and the window's frame, never smaller
// than the desktop's least window, and cascaded down from the top left.
WindowPlacement DefaultWindowPlacement(const frmQuorvel& window, std::size_t index);

// Gives the frame and each device window without a size its default one.
void GiveDefaultPlacements(frmQuorvelMain& frame);

}  // namespace quorvel
