#include "pyfiles.h"

#include <cmath>
#include <mutex>
#include <sstream>
#include <tuple>

#include <pybind11/stl.h>

#include "cli/batch.h"
#include "cli/commands.h"
#include "io/meshreader.h"
#include "io/meshwriter.h"
#include "io/toolerror.h"
#include "pymesh.h"

namespace py = pybind11;

namespace moxpython {
namespace {

// The tool's report collector is one per process: one file is processed at a time.
std::mutex sgProcessMutex;

std::string PathOf(const py::handle& pPath)
{
    return py::module_::import("os").attr("fspath")(pPath).cast<std::string>();
}

moxmeshtool::ENormalsMode NormalsModeOf(const std::string& pNormals)
{
    if (pNormals == "keep") return moxmeshtool::ENormalsMode::eKeep;
    if (pNormals == "control-point") return moxmeshtool::ENormalsMode::eControlPoint;
    if (pNormals == "polygon-vertex") return moxmeshtool::ENormalsMode::ePolygonVertex;
    throw py::value_error("normals: expected 'keep', 'control-point' or 'polygon-vertex', got '" + pNormals + "'");
}

moxmeshtool::ProcessOptions ProcessOptionsOf(const py::handle& pInput, const py::handle& pOutput,
                                             const std::string& pNormals, const py::object& pSmoothAngle,
                                             bool pTangents, bool pSplit, bool pClean)
{
    moxmeshtool::ProcessOptions lOptions;
    lOptions.mQuiet = true;
    lOptions.mReportJson = true;
    lOptions.mInput = PathOf(pInput);
    lOptions.mOutput = PathOf(pOutput);
    lOptions.mNormals = NormalsModeOf(pNormals);
    if (!pSmoothAngle.is_none()) {
        lOptions.mSmoothAngle = pSmoothAngle.cast<double>();
        if (!(lOptions.mSmoothAngle >= 0.0 && lOptions.mSmoothAngle <= 180.0))
            throw py::value_error("smooth_angle: expected None or an angle in 0 .. 180 degrees");
    }
    lOptions.mTangents = pTangents;
    lOptions.mSplit = pSplit;
    lOptions.mClean = pClean;
    const std::string lConflict = moxmeshtool::FindOptionConflict(lOptions);
    if (!lConflict.empty()) throw py::value_error(lConflict);
    return lOptions;
}

py::object ProcessFile(const py::handle& pInput, const py::handle& pOutput, const std::string& pNormals,
                       const py::object& pSmoothAngle, bool pTangents, bool pSplit, bool pClean)
{
    const moxmeshtool::ProcessOptions lOptions =
        ProcessOptionsOf(pInput, pOutput, pNormals, pSmoothAngle, pTangents, pSplit, pClean);
    const std::string lJson = Released([&lOptions] {
        std::lock_guard<std::mutex> lLock(sgProcessMutex);
        std::ostringstream lNotes;
        return moxmeshtool::RunProcessJson(lOptions, lNotes);
    });
    return py::module_::import("json").attr("loads")(lJson);
}

std::unique_ptr<PyMesh> Read(const py::handle& pPath)
{
    const std::string lPath = PathOf(pPath);
    return std::make_unique<PyMesh>(Released([&lPath] { return moxmeshtool::ReadMesh(lPath); }));
}

std::vector<std::string> Write(PyMesh& pMesh, const py::handle& pPath)
{
    const std::string lPath = PathOf(pPath);
    return Walk(pMesh, [&lPath](moxsdk::MoxMesh& pMoxMesh) { return moxmeshtool::WriteMesh(pMoxMesh, lPath).mFiles; });
}

// The batch plan of moxmesh batch for a directory (str or path) or a list of files: (input, output,
// up to date) per file.
std::vector<std::tuple<std::string, std::string, bool>> BatchPlan(const py::object& pInputs, const py::handle& pOutDir,
                                                                  const std::string& pFormat, bool pResume)
{
    const std::string lOutDir = PathOf(pOutDir);
    const bool lDirectory = py::isinstance<py::str>(pInputs) || py::hasattr(pInputs, "__fspath__");
    std::vector<std::string> lInputs;
    if (!lDirectory)
        for (py::handle lPath : pInputs) lInputs.push_back(PathOf(lPath));
    const std::string lDirectoryPath = lDirectory ? PathOf(pInputs) : std::string();
    const auto lItems = Released([&] {
        if (lDirectory)
            return moxmeshtool::PlanBatch(moxmeshtool::ListMeshFiles(lDirectoryPath), lDirectoryPath, lOutDir, pFormat,
                                          pResume);
        return moxmeshtool::PlanBatch(lInputs, moxmeshtool::CommonDirectory(lInputs), lOutDir, pFormat, pResume);
    });
    std::vector<std::tuple<std::string, std::string, bool>> lPlan;
    for (const moxmeshtool::BatchItem& lItem : lItems) lPlan.emplace_back(lItem.mInput, lItem.mOutput, lItem.mUpToDate);
    return lPlan;
}

}  // namespace

void DefineFileFunctions(py::module_& pModule)
{
    py::register_exception<moxmeshtool::ToolError>(pModule, "MeshFileError", PyExc_RuntimeError);
    pModule.def("read", &Read, py::arg("path"),
                "Reads a mesh file (OBJ, or any format Assimp reads) as `moxmesh info` does. MeshFileError when the "
                "file is missing, of an unknown format or malformed.");
    pModule.def("write", &Write, py::arg("mesh"), py::arg("path"),
                "Writes the mesh as OBJ, glTF or glTF binary (by the extension of `path`) as `moxmesh process` does; "
                "returns the files written.");
    pModule.def("process_file", &ProcessFile, py::arg("input"), py::arg("output"),
                py::arg("normals") = "polygon-vertex", py::arg("smooth_angle") = py::none(),
                py::arg("tangents") = false, py::arg("split") = false, py::arg("clean") = false,
                R"(Runs the steps of `moxmesh process` on one file and returns its report: the dict that
`moxmesh process --report-json` prints (files with sizes and SHA-256, counts, steps with times and
results, library reports). normals: 'keep', 'control-point' or 'polygon-vertex'; smooth_angle: None or
degrees. MeshFileError when the file cannot be read, processed or written.)");
    pModule.def("_batch_plan", &BatchPlan, py::arg("inputs"), py::arg("out_dir"), py::arg("format"), py::arg("resume"),
                "moxmesh batch's plan: (input, output, up to date) per file.");
    pModule.def(
        "_batch_record",
        [](const py::handle& pOutDir, const std::string& pOutput, const std::string& pSha256) {
            moxmeshtool::RecordBatchOutput(PathOf(pOutDir), pOutput, pSha256);
        },
        py::arg("out_dir"), py::arg("output"), py::arg("input_sha256"),
        "Records an output and its input's digest for resuming, as moxmesh batch does.");
}

}  // namespace moxpython
