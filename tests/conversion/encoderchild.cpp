#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include <unistd.h>

static void say(const std::string &text)
{
    // One call, so that a short text arrives in one piece.
    if (::write(2, text.data(), text.size()) < 0)
        std::_Exit(99);
}

static std::string replaced(std::string text, const std::string &before, const std::string &after)
{
    for (size_t at = 0; (at = text.find(before, at)) != std::string::npos; at += after.size())
        text.replace(at, before.size(), after);
    return text;
}

// encoderchild MODE [TEXT [EXIT CODE]]
int main(int argc, char **argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    const std::string text = argc > 2 ? argv[2] : "";
    if (mode == "say") { // the text, with \r and \n in it
        say(replaced(replaced(text, "\\r", "\r"), "\\n", "\n"));
    } else if (mode == "half") { // half a line, the rest after a byte of input
        say("first\rsec");
        std::cin.get();
        say("ond");
    } else if (mode == "count") { // takes all input
        long long bytes = 0;
        for (char byte = 0; std::cin.get(byte);)
            bytes += byte == 'x';
        say("bytes " + std::to_string(bytes) + "\n");
    } else if (mode == "copy") { // all input, into the file of that name
        std::ofstream(text, std::ios::binary) << std::cin.rdbuf();
    } else if (mode == "flood") { // much output on both streams, no line end for long
        const std::string block(1 << 20, '.');
        for (int i = 0; i < 8; ++i) {
            std::cout << block;
            say(block);
        }
        say("\nlast\n");
    } else if (mode == "refuse") { // no more input, runs on until the file of that name is there
        ::close(0);
        say("closed\n");
        while (!std::ifstream(text))
            ::usleep(10000);
    } else if (mode == "block") {
        say(std::to_string(::getpid()) + "\n");
        ::pause();
    } else if (mode == "touch") {
        std::ofstream(text) << "made";
    } else if (mode == "crash") {
        std::abort();
    }
    return argc > 3 ? std::atoi(argv[3]) : 0;
}
