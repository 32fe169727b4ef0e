#pragma once

#include <QString>

struct JobTrouble;

// What went wrong, in words that a person can act on; without the full stop, because more may
// follow: the detail, and what comes next. Any thread.
QString troubleWords(const JobTrouble &trouble);
// The words of a code alone; null for one that has none of its own.
const char *wordsOfCode(int code);
