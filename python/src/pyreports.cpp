#include "pyreports.h"

#include "moxsdk/core/moxassert.h"

namespace py = pybind11;

namespace moxpython {
namespace {

PyObject* sgMeshWarning = nullptr;

}  // namespace

void ReportCollector::OnReport(const char* pFileName, const char* pFunctionName, unsigned int pLineNumber,
                               const char* pMessage)
{
    mReports.push_back(
        {pFileName ? pFileName : "", pFunctionName ? pFunctionName : "", pLineNumber, pMessage ? pMessage : ""});
}

void ReportCollector::Emit()
{
    std::vector<LibraryReport> lReports;
    lReports.swap(mReports);
    if (lReports.empty()) return;
    py::object lWarn = py::module_::import("warnings").attr("warn");
    py::handle lClass(sgMeshWarning);
    for (const LibraryReport& lReport : lReports) {
        py::object lWarning = lClass(lReport.mFile + ": " + lReport.mFunction + ": " + lReport.mMessage);
        lWarning.attr("file") = lReport.mFile;
        lWarning.attr("function") = lReport.mFunction;
        lWarning.attr("line") = lReport.mLine;
        lWarning.attr("message") = lReport.mMessage;
        lWarn(lWarning, py::arg("stacklevel") = 1);
    }
}

void DefineMeshWarning(py::module_& pModule)
{
    sgMeshWarning = PyErr_NewExceptionWithDoc(
        "moxsdk.MeshWarning",
        "A report of the mesh library: the operation went on along its defined path. Attributes: file (the "
        "library source, e.g. 'scene/geometry/moxmesh'), function, line and message.",
        PyExc_UserWarning, nullptr);
    if (!sgMeshWarning) throw py::error_already_set();
    pModule.attr("MeshWarning") = py::handle(sgMeshWarning);
}

}  // namespace moxpython
