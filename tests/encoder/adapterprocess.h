#pragma once

#include <QProcess>
#include <QString>

struct AdapterEnd
{
    int code = -1; // -1: no normal end
    QByteArray errors;
};

// One run of the real adapter over a file.
class AdapterProcess final
{
public:
    // environment: "NAME=value"
    AdapterProcess(const QStringList &arguments, const QString &input,
                   const QStringList &environment = {});
    AdapterEnd end(); // waits for it

private:
    QProcess m_process;
};

// White videos of 0.6 s with sound on one channel, by the frame a player shows.
enum class Shape {
    Wide,       // 320x180, AAC
    Anamorphic, // 360x288, shown as 16:9
    Turned,     // 180x320, a wide one with a mark of rotation
    Odd         // 321x241, VP9
};
// Made in the folder; empty when that failed.
QString shapePath(Shape shape, const QString &folder);
double shownShape(Shape shape); // width over height
