#include "addressrenewal.h"

#include "httpget.h"
#include "jobdata.h"
#include "logfile.h"
#include "outputprofilemanager.h"
#include "pageanalysis.h"
#include "texts.h"

void renewAddress(JobData &job, const CJSLib &scripts, const OutputProfileManager &profiles,
                  const SiteAccess &access)
{
    // First, so that a failed renewal is not tried again on the same day.
    job.download_time = dayOfYear();
    // A box may only be shown by the user-interface thread.
    PageAnalysis analysis(scripts, PageAnalysis::Alert(), HttpGet::transferTimeout);
    VideoInfo found;
    if (analysis.read(access, &found) != PageAnalysis::Success)
        return;
    const int best = profiles.matchQuality(found.streams, job.quality_index);
    const QString address = found.streams.at(best).videoAddress;
    const QString old = job.video_url;
    if (address == old)
        return;
    LogFile::instance()->write(QStringLiteral("Video URL(old)"), old);
    job.video_url = access.keptAddress(address);
    LogFile::instance()->write(QStringLiteral("Video URL(new)"), job.video_url);
}
