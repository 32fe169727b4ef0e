#include "outputprofilemanager.h"

#include "encodercommand.h"
#include "ffmpegencoder.h"
#include "instance.h"
#include "jobdata.h"
#include "logfile.h"
#include "options.h"
#include "texts.h"
#include "trace.h"
#include "xmlattribute.h"

#include <QCoreApplication>
#include <QDomDocument>
#include <QFile>

#include <algorithm>

OutputProfileManager::OutputProfileManager(Options &options)
    : m_options(options)
{
}

OutputProfileManager::~OutputProfileManager() = default;

OutputProfileManager *OutputProfileManager::instance()
{
    return ProcessInstance<OutputProfileManager>::get(*Options::instance());
}

void OutputProfileManager::destroyInstance()
{
    ProcessInstance<OutputProfileManager>::destroy();
}

QString OutputProfileManager::programFolder() const
{
    return m_programFolder.value_or(QCoreApplication::applicationDirPath());
}

bool OutputProfileManager::load()
{
    return load(QStringLiteral("%1/%2").arg(programFolder(), QStringLiteral("Profiles.xml")));
}

bool OutputProfileManager::load(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    QDomDocument document;
    if (!document.setContent(&file))
        return false;
    file.close();
    m_current = nullptr;
    m_groups.clear();
    m_qualities.clear();
    for (QDomNode node = document.documentElement().firstChild(); !node.isNull();
         node = node.nextSibling()) {
        const QString name = node.nodeName();
        const bool qualities = name == QLatin1String("video_quality");
        if (!node.isElement() || (!qualities && name != QLatin1String("save_as"))) {
            TRACE() << "Unknown Node.";
        } else if (!(qualities ? loadQualities(node) : loadGroups(node))) {
            LogFile::instance()->write(QStringLiteral("Failed:"),
                                       QStringLiteral("Load profile item %1").arg(name));
            return false;
        }
    }
    // A stored choice that no longer exists stays stored, and nothing is current.
    setSourceQuality(m_options.sourceQuality);
    setOutputFormat(m_options.outputFormat);
    return true;
}

bool OutputProfileManager::loadQualities(const QDomNode &element)
{
    m_qualities.clear();
    for (QDomNode node = element.firstChild(); !node.isNull(); node = node.nextSibling()) {
        VideoQuality quality;
        if (!getAttribute(node, QStringLiteral("value"), &quality.value) ||
            !getAttribute(node, QStringLiteral("display"), &quality.display))
            return false;
        m_qualities.append(quality);
    }
    return !m_qualities.isEmpty();
}

static std::unique_ptr<SaveAsItem> loadItem(const QDomNode &node)
{
    auto item = std::make_unique<SaveAsItem>();
    QString id;
    QString fixedSize;
    if (!getAttribute(node, QStringLiteral("id"), &id) ||
        !getAttribute(node, QStringLiteral("display"), &item->display) ||
        !getAttribute(node, QStringLiteral("value"), &item->value) ||
        !getAttribute(node, QStringLiteral("ext"), &item->ext) ||
        !getAttribute(node, QStringLiteral("size"), &item->size) ||
        !getAttribute(node, QStringLiteral("fixed_size"), &fixedSize))
        return nullptr;
    item->id = id.toInt();
    item->fixedSize = fixedSize.toInt() == 1;
    return item;
}

bool OutputProfileManager::loadGroups(const QDomNode &element)
{
    for (QDomNode node = element.firstChild(); !node.isNull(); node = node.nextSibling()) {
        auto group = std::make_unique<SaveAsGroup>();
        if (!getAttribute(node, QStringLiteral("des"), &group->des))
            return false;
        for (QDomNode child = node.firstChild(); !child.isNull(); child = child.nextSibling()) {
            auto item = loadItem(child);
            if (!item)
                return false;
            group->items.push_back(std::move(item));
        }
        if (group->items.empty())
            return false;
        m_groups.push_back(std::move(group));
    }
    return !m_groups.empty();
}

bool OutputProfileManager::setSourceQuality(int index)
{
    if (index < 0 || index >= m_qualities.size())
        return false;
    m_options.sourceQuality = index;
    return true;
}

static const SaveAsItem *itemOfGroup(const SaveAsGroup &group, int id)
{
    for (const auto &item : group.items) {
        if (item->id == id)
            return item.get();
    }
    return nullptr;
}

bool OutputProfileManager::setOutputFormat(int id)
{
    const SaveAsItem *chosen = nullptr;
    for (const auto &group : m_groups) {
        // Of several groups with this id the last one is meant.
        if (const SaveAsItem *item = itemOfGroup(*group, id))
            chosen = item;
    }
    if (!chosen)
        return false;
    m_options.outputFormat = id;
    LogFile::instance()->write(QStringLiteral("Output format:"), chosen->display);
    m_current = chosen;
    return true;
}

QString OutputProfileManager::displayName(int id) const
{
    const SaveAsItem *item = itemById(id);
    return item ? item->display : QString();
}

const SaveAsItem *OutputProfileManager::itemById(int id) const
{
    for (const auto &group : m_groups) {
        if (const SaveAsItem *item = itemOfGroup(*group, id))
            return item;
    }
    return nullptr;
}

struct Candidate
{
    int index;
    FrameSize size;
};

static int largestStream(const QVector<Candidate> &candidates)
{
    int result = 0;
    FrameSize best;
    for (const Candidate &candidate : candidates) {
        if (candidate.size.width > best.width && candidate.size.height > best.height) {
            result = candidate.index;
            best = candidate.size;
        }
    }
    return result;
}

static int nearestStream(const QVector<Candidate> &candidates, int width)
{
    int result = 0;
    qint64 minimum = 10000;
    for (const Candidate &candidate : candidates) {
        const qint64 distance = qAbs(qint64(candidate.size.width) - width);
        if (distance < minimum) {
            result = candidate.index;
            minimum = distance;
        }
    }
    return result;
}

int OutputProfileManager::matchQuality(const QVector<VideoStream> &streams, int quality) const
{
    const int chosen = quality == -1 ? m_options.sourceQuality : quality;
    const int last = m_qualities.size() - 1;
    // A stored index outlives the list it was chosen from. The last quality, the largest stream, is
    // the mistake that loses nothing: a picture can be made smaller later, never larger.
    const int index = chosen >= 0 && chosen <= last ? chosen : last;
    const QString value = index < 0 ? QString() : m_qualities.at(index).value;
    LogFile::instance()->write(QStringLiteral("Match:"), value);

    std::optional<int> exactMp4;
    std::optional<int> exactFlv;
    QVector<Candidate> candidates;
    for (int i = 0; i < streams.size(); ++i) {
        const VideoStream &stream = streams.at(i);
        const bool mp4 = stream.type.contains(QLatin1String("mp4"));
        if (!mp4 && !stream.type.contains(QLatin1String("flv")))
            continue;
        const Candidate candidate{i, splitSize(stream.dimension)};
        if (mp4)
            candidates.prepend(candidate);
        else
            candidates.append(candidate);
        if (index >= 0 && stream.dimension == value)
            (mp4 ? exactMp4 : exactFlv) = i;
    }
    if (exactMp4)
        return *exactMp4;
    if (exactFlv)
        return *exactFlv;
    return index == last ? largestStream(candidates)
                         : nearestStream(candidates, splitSize(value).width);
}

std::unique_ptr<Encoder> OutputProfileManager::createEncoder(JobData &job) const
{
    const SaveAsItem *item = job.output_format == 0 ? nullptr : itemById(job.output_format);
    if (!item)
        return nullptr;
    const EncoderSize size = encoderSize(*item, job.video_dimension);
    if (size.unknown) {
        LogFile::instance()->write(
            QStringLiteral("Convert:"),
            QStringLiteral("Unknown frame size(%1), no padding.").arg(job.video_dimension));
    }
    job.output_demision = size.dimension;
    job.output_name = encoderOutputPath(m_options.outputFolder, job.guid, *item, size.dimension,
                                        m_options.appendDeviceName);
    job.outputFormatName = item->display;
    const QString command =
        encoderArguments(item->value, {size.argument, job.title, job.output_name});
    LogFile::instance()->write(QStringLiteral("Command Line:"), command);
    TRACE() << command;
    auto encoder = std::make_unique<FFMpegEncoder>(job, command, programFolder());
    encoder->setVariable(frameRuleVariable, QString::fromStdString(frameRuleText(size.rule)));
    return encoder;
}
