#pragma once

// What orders the threads in a ThreadSanitizer build; see tsan.cpp.
void eventPosted();
void eventDelivered();
