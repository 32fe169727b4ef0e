#pragma once

struct JobData;

// The files of one job. User-interface thread.
namespace jobfiles {

// Gives the finished file the title as name, numbered where that is taken. Of a converted video the
// downloaded source goes first when deleteSource says so, unless the converted file is missing.
// False, and the file keeps its name, when it cannot be renamed.
bool finalize(JobData &job, bool deleteSource);
// After a failure: the source, and what a conversion has made of it. True when the last is gone.
bool removePartial(JobData &job);
// The person removes the job with its files. A finished job's source is gone already, or was kept.
bool removeAll(const JobData &job);

} // namespace jobfiles
