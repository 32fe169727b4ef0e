#pragma once

#include "videoinfo.h"

#include <QString>
#include <QVector>

#include <memory>
#include <optional>
#include <vector>

class Encoder;
class Options;
class QDomNode;
struct JobData;

// One output format.
struct SaveAsItem
{
    int id = 0;             // stable; 0 keeps the download unchanged
    QString display;        // name shown to the person
    QString value;          // encoder command line with $input, $size and $output
    QString ext;            // extension of the converted file, without the dot
    QString size;           // target box in pixels, "320x240"; "0x0" is no bound
    bool fixedSize = false; // the output always has that size
};

struct SaveAsGroup
{
    QString des; // heading
    std::vector<std::unique_ptr<SaveAsItem>> items;
};

// One source quality. The last of the list means the largest stream there is.
struct VideoQuality
{
    QString display;
    QString value; // "640x360"
};

// Source qualities and output formats, read from Profiles.xml beside the executable.
// User-interface thread; what matchQuality may do elsewhere stands there.
class OutputProfileManager final
{
public:
    // options: not owned, must outlive the manager; holds the person's choices.
    explicit OutputProfileManager(Options &options);
    ~OutputProfileManager();
    static OutputProfileManager *instance();
    static void destroyInstance();

    // The folder that holds Profiles.xml and encoder/: the executable's, unless another is set.
    void setProgramFolder(const QString &folder) { m_programFolder = folder; }

    bool load();                    // Profiles.xml of the program folder
    bool load(const QString &path); // from a file of that path

    const std::vector<std::unique_ptr<SaveAsGroup>> &groups() const { return m_groups; }
    const QVector<VideoQuality> &qualities() const { return m_qualities; }
    const SaveAsItem *current() const { return m_current; } // null: none chosen

    // Store the choice in the options; false, and nothing changed, for an unknown one.
    bool setSourceQuality(int index);
    bool setOutputFormat(int id);

    QString displayName(int id) const; // empty for an unknown id
    const SaveAsItem *itemById(int id) const;

    // Index of the stream that fits the quality best; an unknown quality counts as the last one.
    // 0 when nothing fits, also for an empty list. With a quality of 0 or more any thread may ask
    // once load() has returned; -1 reads the stored source quality and belongs to the
    // user-interface thread, so nobody hands on a number from a job without having looked at it.
    int matchQuality(const QVector<VideoStream> &streams, int quality = -1) const;

    // A configured encoder for the job, or null when the job's output format does not exist or is
    // 0. Fills output_name, output_demision and outputFormatName of the job, which must outlive the
    // encoder.
    std::unique_ptr<Encoder> createEncoder(JobData &job) const;

private:
    QString programFolder() const;
    bool loadQualities(const QDomNode &element);
    bool loadGroups(const QDomNode &element);

    Options &m_options;
    std::optional<QString> m_programFolder;
    std::vector<std::unique_ptr<SaveAsGroup>> m_groups;
    QVector<VideoQuality> m_qualities;
    const SaveAsItem *m_current = nullptr;
};
