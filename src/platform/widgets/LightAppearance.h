#pragma once

/// Draws the application's windows light, whatever the desktop's theme, and with icons also where no icon theme is
/// set. To be called once, after the application object was made and before the first window.
void useLightAppearance();
