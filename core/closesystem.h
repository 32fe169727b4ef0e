#pragma once

class QWidget;

// Puts the computer to sleep (mode 1), into hibernation (2) or shuts it down (any other mode).
// window is closed just before the shut-down request. Always true; the log shows how far it came.
bool CloseSystem(int mode, QWidget *window);
