#include "encoder.h"
#include "fuzz.h"
#include "jobdata.h"
#include "outputprofilemanager.h"

#include <QFileInfo>

void fuzz(const QByteArray &input)
{
    OutputProfileManager manager(options());
    if (!manager.load(asFile(input)))
        return;
    for (const auto &group : manager.groups()) {
        JobData job;
        job.guid = "{G}"_q;
        job.video_dimension = "640x360"_q;
        job.output_format = group->items.front()->id;
        if (manager.createEncoder(job))
            holds(QFileInfo(job.output_name).fileName().startsWith(job.guid));
    }
}
