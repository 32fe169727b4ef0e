#include "framefilter.h"

#include <algorithm>

namespace {
// An odd length loses its last pixel.
const char evenFrame[] = "crop=trunc(iw/2)*2:trunc(ih/2)*2:0:0";
const std::string centred = ":x='2*trunc((ow-iw)/4)':y='2*trunc((oh-ih)/4)':color=C";

std::string even(const std::string &length)
{
    return "'max(2,2*round(" + length + "/2))'";
}

// Capitals stand for what the frame is to have: W, H, its shape D, the colour of its bars C.
std::string filled(const std::string &text, const Frame &frame)
{
    const int width = std::max(2, frame.rule.size.width / 2 * 2);
    const int height = std::max(2, frame.rule.size.height / 2 * 2);
    const std::string lengths[] = {std::to_string(width), std::to_string(height)};
    std::string result;
    for (const char c : text) {
        if (c == 'W' || c == 'H')
            result += lengths[c == 'H'];
        else if (c == 'D')
            result +=
                "(" + (frame.shape.empty() ? lengths[0] + "/" + lengths[1] : frame.shape) + ")";
        else if (c == 'C')
            result += frame.barColor.value_or("0x000000");
        else
            result += c;
    }
    return result;
}

std::string exactFilters(bool hasShape)
{
    // Shapes that differ by less than anybody sees are no reason for a bar of two pixels.
    const std::string dar = "if(lt(abs(dar-D),0.01),D,dar)";
    return "scale=w=" + even("W*min(1," + dar + "/D)") + ":h=" + even("H*min(1,D/" + dar + ")") +
           ",pad=W:H" + centred + (hasShape ? ",setdar=D:max=10000" : ",setsar=1");
}

std::string boundedFilters(bool bars)
{
    // 1 for what is small enough: nothing is blown up.
    const std::string factor =
        bars ? "min(1,min(W/(iw*sar),H/ih))" : "min(1,min(W/max(iw,iw*sar),H/ih))";
    const std::string width =
        bars ? "iw*if(lt(" + factor + ",1)," + factor + "*sar,1)" : "iw*" + factor;
    std::string filters =
        std::string(evenFrame) + ",scale=w=" + even(width) + ":h=" + even("ih*" + factor);
    // A picture that was made smaller reaches the edge.
    if (bars)
        filters += ",pad=w='if(eq(iw,W)+eq(ih,H),W,iw)':h='if(eq(iw,W)+eq(ih,H),H,ih)'" + centred;
    // Rounding leaves pixels that are nearly square.
    return filters + ",setsar=sar='if(lt(abs(sar-1),0.02)*(eq(w,W)+eq(h,H)),1,sar)':max=10000";
}
} // namespace

std::string frameFilters(const Frame &frame)
{
    switch (frame.rule.kind) {
    case FrameRule::Within:
        return filled(boundedFilters(frame.barColor.has_value()), frame);
    case FrameRule::Exactly:
        return filled(exactFilters(!frame.shape.empty()), frame);
    case FrameRule::AsItComes:
        break;
    }
    return evenFrame;
}
