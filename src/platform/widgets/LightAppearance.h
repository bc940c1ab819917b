#pragma once

/// Draws the application's windows light, whatever the desktop's theme, and with icons also where no icon theme is
/// set. Needs the application object; windows that are already there change with it.
void useLightAppearance();
