#pragma once

// The columns of the two lists, as the form names them.
struct DownloadColumns
{
    enum { State, Title, Information, Progress, Count };
};
struct FinishedColumns
{
    enum { Name, Information, Count };
};
