#include "moxsdk/core/moxreportmeaning.h"

#include <cstddef>
#include <cstring>

#include "core/base/detail/moxredblacktreereports.h"
#include "core/base/moxreporttext.h"
#include "core/detail/moxcorereports.h"
#include "moxsdk/core/base/detail/moxarrayreports.h"
#include "moxsdk/core/base/detail/moxredblacktreeinsertreports.h"
#include "moxsdk/scene/detail/moxobjectreports.h"
#include "moxsdk/scene/geometry/detail/moxlayerelementreports.h"
#include "scene/detail/moxscenereports.h"
#include "scene/geometry/detail/moxlayerreports.h"
#include "scene/geometry/detail/moxmeshreports.h"

namespace moxsdk {
namespace {

using detail::MoxReportText;

// The texts of one report file.
struct ReportFile {
    const char* mFile;
    const MoxReportText* const* mTexts;
    size_t mCount;
};

template <size_t N>
constexpr ReportFile MakeReportFile(const char* pFile, const MoxReportText* const (&pTexts)[N])
{
    return ReportFile{pFile, pTexts, N};
}

// A report file whose texts are made both inside the library and by a public header's inline code has
// two entries, one per header of texts.
constexpr ReportFile sgReportFiles[] = {
    MakeReportFile("core/moxstring", detail::stringreports::sgAll),
    MakeReportFile("core/base/moxcontainerallocators", detail::allocatorreports::sgAll),
    MakeReportFile("core/base/moxpairset", detail::pairsetreports::sgAll),
    MakeReportFile("core/base/moxpointerlist", detail::pointerlistreports::sgAll),
    MakeReportFile("core/base/moxarray", detail::arrayreports::sgAll),
    MakeReportFile("core/base/moxredblacktree", detail::redblacktreereports::sgAll),
    MakeReportFile("core/base/moxredblacktree", detail::redblacktreeinsertreports::sgAll),
    MakeReportFile("scene/moxmanager", detail::managerreports::sgAll),
    MakeReportFile("scene/moxobject", detail::objectallocationreports::sgAll),
    MakeReportFile("scene/geometry/moxlayercontainer", detail::layercontainerreports::sgAll),
    MakeReportFile("scene/geometry/moxmesh", detail::meshreports::sgAll),
    MakeReportFile("scene/geometry/moxlayer", detail::layerreports::sgAll),
    MakeReportFile("scene/geometry/moxlayer", detail::layerelementreports::sgAll),
};

// The creation reports are made under the report file of the class being created.
constexpr const char* sgSceneObjectFiles = "scene/";

const char* FindMeaning(const MoxReportText* const* pTexts, size_t pCount, const char* pMessage)
{
    for (size_t i = 0; i < pCount; ++i)
        if (std::strcmp(pTexts[i]->mText, pMessage) == 0) return pTexts[i]->mMeaning;
    return nullptr;
}

}  // namespace

const char* MoxReportMeaning(const char* pFileName, const char* pMessage)
{
    if (!pFileName || !pMessage) return nullptr;
    for (const ReportFile& lFile : sgReportFiles)
        if (std::strcmp(lFile.mFile, pFileName) == 0) {
            if (const char* lMeaning = FindMeaning(lFile.mTexts, lFile.mCount, pMessage)) return lMeaning;
        }
    if (std::strncmp(pFileName, sgSceneObjectFiles, std::strlen(sgSceneObjectFiles)) != 0) return nullptr;
    const auto& lCreation = detail::objectreports::sgAll;
    return FindMeaning(lCreation, sizeof(lCreation) / sizeof(lCreation[0]), pMessage);
}

}  // namespace moxsdk
