#include "io/objnormalfilter.h"

namespace moxmeshtool {
namespace {

bool StartsWith(const std::string& pText, const char* pPrefix)
{
    return pText.compare(0, std::char_traits<char>::length(pPrefix), pPrefix) == 0;
}

// A face corner without its normal index: "1/2/3" -> "1/2", "1//3" -> "1", "1/2" and "1" unchanged.
std::string CornerWithoutNormal(const std::string& pCorner)
{
    const size_t lFirst = pCorner.find('/');
    if (lFirst == std::string::npos) return pCorner;
    const size_t lSecond = pCorner.find('/', lFirst + 1);
    if (lSecond == std::string::npos) return pCorner;
    return pCorner.substr(0, lSecond == lFirst + 1 ? lFirst : lSecond);
}

}  // namespace

std::string ObjNormalFilter::FilterLine(const std::string& pLine)
{
    if (StartsWith(pLine, "vn ") || (StartsWith(pLine, "# ") && pLine.find(" vertex normals") != std::string::npos))
        return {};
    if (!StartsWith(pLine, "f ")) return pLine;
    std::string lFiltered;
    size_t lAt = 0;
    while (lAt < pLine.size()) {
        const size_t lEnd = pLine.find_first_of(" \t\r\n", lAt);
        const size_t lStop = lEnd == std::string::npos ? pLine.size() : lEnd;
        lFiltered += CornerWithoutNormal(pLine.substr(lAt, lStop - lAt));
        if (lStop < pLine.size()) lFiltered += pLine[lStop];
        lAt = lStop + 1;
    }
    return lFiltered;
}

std::string ObjNormalFilter::Feed(const char* pText, size_t pSize)
{
    mPending.append(pText, pSize);
    std::string lOut;
    size_t lStart = 0;
    for (size_t lBreak = mPending.find('\n'); lBreak != std::string::npos; lBreak = mPending.find('\n', lStart)) {
        lOut += FilterLine(mPending.substr(lStart, lBreak + 1 - lStart));
        lStart = lBreak + 1;
    }
    mPending.erase(0, lStart);
    return lOut;
}

std::string ObjNormalFilter::Finish()
{
    std::string lOut = FilterLine(mPending);
    mPending.clear();
    return lOut;
}

}  // namespace moxmeshtool
