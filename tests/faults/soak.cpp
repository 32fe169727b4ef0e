// soak [--rounds N] [--seconds N] [--seed N]: the long run. Prints what it did; ends with 1 at the
// first job that is not where it should be and the first file that is not its stream.
#include "soak.h"

#include "literals.h"
#include "sandbox.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    Sandbox sandbox;
    const QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addOptions({{"rounds"_q, "Ends of the program."_q, "N"_q, "200"_q},
                       {"seconds"_q, "Time of the load."_q, "N"_q, "60"_q},
                       {"seed"_q, "Of the random numbers."_q, "N"_q, "1"_q}});
    parser.addHelpOption();
    parser.process(application);
    const auto number = [&](const QString &name) { return parser.value(name).toInt(); };
    const auto seed = unsigned(number("seed"_q));
    return soakProcess(sandbox, number("rounds"_q), seed) &&
                   soakLoad(sandbox, number("seconds"_q), seed)
               ? 0
               : 1;
}
