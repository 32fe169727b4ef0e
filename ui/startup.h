#pragma once

class QWidget;

// The steps of the start-up that ask the world outside. User-interface thread.

// Runs the update of the site scripts; the program starts whatever comes of it.
void updateScripts();

// Loads what the program cannot do without: the output profiles, and the job list into the
// process's download manager. False when the program must end; the person has then been told, and
// it has been logged. Runs message boxes.
bool loadStores();
