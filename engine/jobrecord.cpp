#include "jobrecord.h"

#include "addressrenewal.h"
#include "jobfiles.h"
#include "jobrow.h"
#include "outputprofilemanager.h"
#include "trace.h"

#include <QFile>

bool JobRecord::loadRow(const JobRow &row, int, const OutputProfileManager &profiles)
{
    row.load(*this);
    contentType = QString();
    outputFormatName.clear();
    encodedBytes = 0;
    convertedSeconds = 0;
    changeFlags.clear(~0u);
    if (output_format != 0) {
        outputFormatName = profiles.displayName(output_format);
        spend_time = 0;
    }
    TRACE() << "ID:" << id;
    TRACE() << "Page:" << page;
    TRACE() << "Title:" << title;
    TRACE() << "Source file:" << video_mame.text() << download_bytes << '/' << total_bytes;
    TRACE() << "State:" << stateText();
    TRACE() << "Length:" << duration;
    TRACE() << "Output name:" << output_name;

    if (video_state == JobState::Finished)
        return QFile::exists(output_name);
    changeFlags.set(StateChanged);
    return true;
}

QString JobRecord::stateText() const
{
    switch (video_state) {
    case JobState::Start:
        return QStringLiteral("(Start)");
    case JobState::Stopped:
        return QStringLiteral("(Stopped)");
    case JobState::PauseFinishes:
        return QStringLiteral("(Pause(Finishes))");
    case JobState::Finished:
        return QStringLiteral("(Finished)");
    case JobState::Errored:
        return QStringLiteral("(Errored)");
    }
    return QStringLiteral("(Unknown)");
}

QString JobRecord::stateIcon() const
{
    switch (video_state) {
    case JobState::Stopped:
        return QStringLiteral(":/png/GeneratedFiles/download_pause.png");
    case JobState::Errored:
        return QStringLiteral(":/png/GeneratedFiles/download_failed.png");
    default:
        return QStringLiteral(":/png/GeneratedFiles/download_ing.png");
    }
}

bool JobRecord::finalizeOutput(bool deleteSource)
{
    return jobfiles::finalize(*this, deleteSource);
}

bool JobRecord::removePartialFiles()
{
    return jobfiles::removePartial(*this);
}

bool JobRecord::deleteFiles() const
{
    return jobfiles::removeAll(*this);
}

void JobRecord::refreshVideoUrl(const CJSLib &scripts, const OutputProfileManager &profiles,
                                const SiteAccess &access)
{
    renewAddress(*this, scripts, profiles, access);
}
