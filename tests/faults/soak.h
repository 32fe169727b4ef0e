#pragma once

class Sandbox;

// kill -9 and SIGTERM of the real program at random moments, while it downloads and converts.
bool soakProcess(Sandbox &sandbox, int rounds, unsigned seed);

// A hundred jobs at once, started, paused, removed and replaced at random.
bool soakLoad(Sandbox &sandbox, int seconds, unsigned seed);
