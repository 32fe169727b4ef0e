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

// encoderchild MODE [TEXT [EXIT CODE]]
int main(int argc, char **argv)
{
    const std::string mode = argc > 1 ? argv[1] : "";
    const std::string text = argc > 2 ? argv[2] : "";
    if (mode == "say") { // the text
        say(text);
    } else if (mode == "copy") { // all input, into the file of that name
        std::ofstream(text, std::ios::binary) << std::cin.rdbuf();
    } else if (mode == "flood") { // much output on both streams, no line end for long
        const std::string block(8 << 20, '.');
        std::cout << block;
        say(block + "\nlast\n");
    } else if (mode == "refuse") { // no more input, runs on until the file of that name is there
        ::close(0);
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
