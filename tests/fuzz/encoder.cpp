#include "ffmpegencoder.h"
#include "fuzz.h"
#include "jobdata.h"
#include "progress.h"

// The same lines wherever the output is cut into two reads; no progress beyond the video's length.
void fuzz(const QByteArray &input)
{
    JobData job;
    job.duration = 60;
    FFMpegEncoder encoder(job, QString(), QString());
    std::string lines;
    LineSplitter splitter([&](const std::string &line, char end) {
        lines += end ? line + end : line;
        encoder.parseProgress(QString::fromStdString(readableProgress(line)));
        encoder.parseProgress(QString::fromStdString(line));
        namesWriteFailure(line, "output.mp4");
    });
    const int cut = input.isEmpty() ? 0 : uchar(input.at(0)) % input.size();
    splitter.take(input.constData(), std::size_t(cut));
    splitter.take(input.constData() + cut, std::size_t(input.size() - cut));
    splitter.finish();
    holds(lines == input.toStdString());
    holds(job.convertedSeconds >= 0 && job.convertedSeconds <= 60);
}
