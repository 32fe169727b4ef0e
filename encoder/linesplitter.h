#pragma once

#include <cstddef>
#include <functional>
#include <string>

// Cuts a stream into lines that end in CR or LF. Of a line that does not end within 64 KiB the
// pieces are handed out with the end 0, as is the last one when the stream is over.
class LineSplitter final
{
public:
    using Handler = std::function<void(const std::string &line, char end)>;
    explicit LineSplitter(Handler handler);
    void take(const char *bytes, size_t length);
    void finish();

private:
    Handler m_handler;
    std::string m_line;
};
