#pragma once

#include "shared.h"

#include <QString>

// State of a job, stored as a number in the job database.
enum class JobState : qint32 {
    Start = 0,         // the transfer runs or is being started
    Stopped = 1,       // paused by the user
    PauseFinishes = 2, // paused, and the conversion then completed
    Finished = 3,      // output_name is the final file
    Errored = 4,       // failed; the partial files were deleted, as a rule
};

// What changed since the views last looked: bits of JobData::changeFlags.
enum JobChange : quint32 {
    StateChanged = 1,
    TitleChanged = 2,
    BasicInformationChanged = 4,
    ProgressChanged = 8,
};

// The plain data of one download job. Fields are named like the columns that store them; the last
// group lives in memory only. SharedNumber, SharedText and SharedFlags mark what the transfer
// thread writes. Of the plain fields it reads page, video_usser_agent, quality_index, output_format
// and guid, which are written before the job's first start only; the others are touched on the
// user-interface thread alone.
struct JobData
{
    qint32 id = 0;
    QString page;
    QString title; // sanitised: usable as a file name
    QString keyword;
    QString category;
    SharedText video_url; // percent-decoded, but of secure pages as the script gives it
    QString video_usser_agent;
    SharedText video_cookies;
    QString video_dimension; // "640x360"
    QString video_type;
    SharedNumber<JobState> video_state = JobState::Start;
    qint32 quality_index = 0;
    SharedText video_mame;                   // path of the file that receives the downloaded bytes
    SharedNumber<qint64> download_bytes = 0; // bytes written to it
    SharedNumber<qint64> total_bytes = -1;   // bytes of the whole stream, -1 when unknown
    qint32 duration = 0;                     // seconds
    qint32 output_format = 0;                // output profile id, 0 keeps the download as it came
    QString output_name;                     // path of the final file
    QString output_demision;                 // "640x360"
    QString guid;
    SharedNumber<qint32> download_time = 0; // day of the year on which video_url was obtained
    qint64 spend_time = 0;                  // milliseconds the job has spent running

    // What the server calls the version of the stream that the source file holds, as it stands in
    // an If-Range header; empty when it does not say. Kept across restarts.
    SharedText validator;

    SharedText contentType;
    // Counts how often the source file was begun again at byte 0.
    SharedNumber<qint32> sourceGeneration = 0;
    // The error that ended the last attempt is no reason to delete the source file.
    SharedNumber<bool> keepsSource = false;
    qint64 encodedBytes = 0; // bytes of the source file handed to the encoder
    QString outputFormatName;
    float convertedSeconds = 0; // seconds of video the encoder has produced
    SharedFlags changeFlags;    // JobChange bits

    // The source file begins again at byte 0, or is gone. Both threads.
    void forgetSource()
    {
        sourceGeneration += 1; // first, so that whoever sees the count go down also sees why
        download_bytes = 0;
        total_bytes = -1;
        validator = QString();
    }
};
