#pragma once

// Loads what the program cannot do without: the output profiles, and the job list into the
// process's download manager. False when the program must end; the person has then been told, and
// it has been logged. Runs message boxes.
bool loadStores();
