#include "encodercommand.h"

#include "files.h"
#include "outputprofilemanager.h"
#include "texts.h"

#include <algorithm>
#include <cmath>
#include <utility>

static bool isKnown(const FrameSize &size)
{
    return size.width > 0 && size.height > 0;
}

// The padding left and right, or above and below, of a picture in a box.
struct Padding
{
    int picture;
    int first;
    int second;
};

// An even total keeps the parity of the box, and a picture is never squeezed to nothing.
static Padding paddingOf(int box, double picture)
{
    const int total = (box - std::max(1, static_cast<int>(picture))) / 2 * 2;
    const int first = total / 2 / 2 * 2;
    return {box - total, first, total - first};
}

QString frameSizeArgument(const QString &source, const QString &target)
{
    const FrameSize src = splitSize(source);
    const FrameSize dst = splitSize(target);
    if (!isKnown(src) || !isKnown(dst))
        return target;
    // Single precision on purpose: it decides on which side of a whole number the division falls,
    // and so whether a 16:9 picture gets 98 or 100 lines in a box 176 wide.
    const auto sourceRatio = static_cast<float>(static_cast<double>(src.width) / src.height);
    const auto targetRatio = static_cast<float>(static_cast<double>(dst.width) / dst.height);
    const float difference = std::fabs(sourceRatio - targetRatio);
    if (static_cast<double>(difference) < 0.01)
        return target;
    const double ratio = sourceRatio;
    if (targetRatio < sourceRatio) {
        const Padding padding = paddingOf(dst.height, static_cast<float>(dst.width) / ratio);
        return QStringLiteral("%1x%2 -padtop %3 -padbottom %4 -padcolor 0x000000")
            .arg(dst.width)
            .arg(padding.picture)
            .arg(padding.first)
            .arg(padding.second);
    }
    const Padding padding = paddingOf(dst.width, ratio * static_cast<float>(dst.height));
    return QStringLiteral("%1x%2 -padleft %3 -padright %4 -padcolor 0x000000")
        .arg(padding.picture)
        .arg(dst.height)
        .arg(padding.first)
        .arg(padding.second);
}

// The source size comes from the site. A text that is not one plain word would leave an option
// without its value or bring options of its own, so it becomes "0x0", which keeps the size.
static QString sizeWord(const QString &source)
{
    constexpr int longestSize = 32; // a command line has a limit
    const bool oneWord =
        !source.isEmpty() && source.size() <= longestSize && !source.startsWith(QLatin1Char('-')) &&
        std::none_of(source.cbegin(), source.cend(), [](QChar letter) {
            return letter.isSpace() || letter == QLatin1Char('"') || !letter.isPrint();
        });
    return oneWord ? source : QStringLiteral("0x0");
}

EncoderSize encoderSize(const SaveAsItem &item, const QString &source)
{
    const FrameSize src = splitSize(source);
    const FrameSize dst = splitSize(item.size);
    const bool fits = src.width <= dst.width && src.height <= dst.height;
    EncoderSize result;
    result.unknown = !isKnown(src);
    if (isKnown(dst))
        result.rule = {item.fixedSize ? FrameRule::Exactly : FrameRule::Within,
                       {dst.width, dst.height}};
    if (!isKnown(dst) || (!item.fixedSize && fits)) {
        result.argument = sizeWord(source);
        result.dimension = source;
    } else {
        result.argument = frameSizeArgument(source, item.size);
        result.dimension = item.size;
    }
    return result;
}

QString encoderOutputPath(const QString &folder, const QString &guid, const SaveAsItem &item,
                          const QString &dimension, bool appendDeviceName)
{
    QString base = guid;
    if (appendDeviceName) {
        const QString name = replaceAll(item.display, QStringLiteral("\\"), QStringLiteral(" "));
        base += sanitizeFileName(QStringLiteral(" - %1(%2)").arg(name, dimension));
    }
    constexpr int longestExtension = 32; // the guid must not be cut for it
    const QString suffix = QLatin1Char('.') + sanitizeFileName(item.ext).left(longestExtension);
    return folder + fittingBaseName(base, suffix) + suffix;
}

QString encoderArguments(const QString &commandTemplate, const EncoderTexts &texts)
{
    const std::pair<QString, QString> values[] = {
        {QStringLiteral("$input"), quotedArgument(QStringLiteral("-"))},
        {QStringLiteral("$size"), texts.size},
        {QStringLiteral("$title"), quotedArgument(texts.title)},
        {QStringLiteral("$output"), quotedArgument(texts.output)},
    };
    QString arguments;
    // One walk over the template, so that a placeholder inside an inserted text stays as it is.
    for (int at = 0; at < commandTemplate.size();) {
        const auto value =
            std::find_if(std::begin(values), std::end(values), [&](const auto &candidate) {
                return commandTemplate.midRef(at).startsWith(candidate.first);
            });
        if (value == std::end(values)) {
            arguments += commandTemplate.at(at++);
        } else {
            arguments += value->second;
            at += value->first.size();
        }
    }
    return arguments;
}

QString quotedArgument(const QString &text)
{
    // Three quotes in a row are read as one that belongs to the text.
    return quoted(replaceAll(text, QStringLiteral("\""), QStringLiteral("\"\"\"")));
}
