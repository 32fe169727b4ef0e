#include "inputprobe.h"

#include <cstdint>
#include <set>

static const size_t maximumHead = 1024 * 1024;
static const uint64_t largestBox = UINT64_MAX / 4;

static uint64_t bigEndian(const std::string &bytes, size_t offset, size_t count)
{
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i)
        value = value << 8 | static_cast<unsigned char>(bytes[offset + i]);
    return value;
}

InputKind probeInput(const std::string &head)
{
    static const std::set<std::string> firstBoxes = {"ftyp", "moov", "mdat", "free", "skip",
                                                     "wide", "uuid", "pnot", "styp", "meta"};
    uint64_t offset = 0;
    while (offset + 8 <= head.size()) {
        const std::string type = head.substr(offset + 4, 4);
        if (offset == 0 && firstBoxes.count(type) == 0)
            return InputKind::Streamable;
        if (type == "moov")
            return InputKind::Streamable;
        if (type == "mdat" || type == "moof")
            return InputKind::NeedsFile;

        uint64_t size = bigEndian(head, offset, 4);
        uint64_t headerSize = 8;
        if (size == 1) {
            headerSize = 16;
            if (offset + headerSize > head.size())
                return InputKind::Undecided;
            size = bigEndian(head, offset + 8, 8);
        }
        // Size 0 reaches to the end of the file, the others are damage: neither hides an index.
        if (size < headerSize || size > largestBox)
            return InputKind::Streamable;
        offset += size;
    }
    return head.size() >= maximumHead ? InputKind::NeedsFile : InputKind::Undecided;
}
