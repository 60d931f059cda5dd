#include "pyarrays.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace py = pybind11;

namespace moxpython {
namespace {

constexpr long long sgMaxCount = std::numeric_limits<int>::max();

// numpy.asarray(pValues); a ValueError naming the argument when numpy cannot make an array of it.
py::array AsArray(py::handle pValues, const std::string& pName)
{
    try {
        return py::module_::import("numpy").attr("asarray")(pValues);
    } catch (py::error_already_set&) {
        throw py::value_error(pName + ": not an array of numbers (rows of different lengths?)");
    }
}

char KindOf(const py::array& pArray)
{
    return pArray.dtype().kind();
}

// The array's values as C-contiguous pType (a converted copy when needed).
template <class T>
py::array_t<T, py::array::c_style> Converted(const py::array& pArray)
{
    return py::array_t<T, py::array::c_style>::ensure(
        pArray.attr("astype")(py::dtype::of<T>(), py::arg("copy") = false));
}

void CheckCount(long long pActual, long long pExpected, const std::string& pName, const char* pWhat)
{
    if (pExpected >= 0 && pActual != pExpected)
        throw py::value_error(pName + ": " + std::to_string(pActual) + " " + pWhat + ", expected " +
                              std::to_string(pExpected));
    if (pActual > sgMaxCount) throw py::value_error(pName + ": more than 2147483647 " + pWhat);
}

// pIndices.size() values of pValues into pIndices; IndexError for the first outside pMin .. pMax.
template <class T>
void CopyInRange(const T* pValues, std::vector<int>& pIndices, const std::string& pName, long long pMin, long long pMax)
{
    for (size_t i = 0; i < pIndices.size(); ++i) {
        const long long lValue = pValues[i];
        if (lValue < pMin || lValue > pMax)
            throw py::index_error(pName + ": entry " + std::to_string(i) + " is " + std::to_string(lValue) +
                                  ", outside " + std::to_string(pMin) + " .. " + std::to_string(pMax));
        pIndices[i] = static_cast<int>(lValue);
    }
}

}  // namespace

std::vector<double> ToFiniteRows(py::handle pValues, const std::string& pName, int pColumns, long long pRows)
{
    py::array lArray = AsArray(pValues, pName);
    const bool lEmpty = lArray.size() == 0 && lArray.ndim() <= 2;
    if (!lEmpty && (lArray.ndim() != 2 || lArray.shape(1) != pColumns))
        throw py::value_error(pName + ": expected shape (n, " + std::to_string(pColumns) + "), got " +
                              py::str(lArray.attr("shape")).cast<std::string>());
    if (!lEmpty && std::strchr("fiu", KindOf(lArray)) == nullptr)
        throw py::value_error(pName + ": expected real numbers, got dtype " +
                              py::str(lArray.dtype()).cast<std::string>());
    const long long lRows = lEmpty ? 0 : lArray.shape(0);
    CheckCount(lRows, pRows, pName, "rows");
    std::vector<double> lValues(static_cast<size_t>(lRows) * pColumns);
    if (lEmpty) return lValues;
    auto lData = Converted<double>(lArray);
    std::memcpy(lValues.data(), lData.data(), lValues.size() * sizeof(double));
    for (size_t i = 0; i < lValues.size(); ++i)
        if (!std::isfinite(lValues[i]))
            throw py::value_error(pName + ": row " + std::to_string(i / pColumns) + " holds a non-finite value");
    return lValues;
}

std::vector<int> ToIndices(py::handle pValues, const std::string& pName, long long pCount, long long pMin,
                           long long pMax)
{
    py::array lArray = AsArray(pValues, pName);
    const bool lEmpty = lArray.size() == 0 && lArray.ndim() <= 1;
    if (!lEmpty && lArray.ndim() != 1)
        throw py::value_error(pName + ": expected a one-dimensional sequence, got shape " +
                              py::str(lArray.attr("shape")).cast<std::string>());
    if (!lEmpty && std::strchr("biu", KindOf(lArray)) == nullptr)
        throw py::value_error(pName + ": expected integers, got dtype " + py::str(lArray.dtype()).cast<std::string>());
    const long long lCount = lEmpty ? 0 : lArray.shape(0);
    CheckCount(lCount, pCount, pName, "entries");
    std::vector<int> lIndices(static_cast<size_t>(lCount));
    if (lEmpty) return lIndices;
    // int32 input, the common case, is read in place; anything else through a 64-bit copy.
    if (KindOf(lArray) == 'i' && lArray.itemsize() == static_cast<py::ssize_t>(sizeof(int)))
        CopyInRange(py::array_t<int, py::array::c_style>::ensure(lArray).data(), lIndices, pName, pMin, pMax);
    else
        CopyInRange(Converted<long long>(lArray).data(), lIndices, pName, pMin, pMax);
    return lIndices;
}

PolygonArrays ToPolygons(py::handle pPolygons, int pControlPointCount)
{
    PolygonArrays lPolygons;
    const long long lLast = static_cast<long long>(pControlPointCount) - 1;
    if (py::isinstance<py::tuple>(pPolygons) && py::len(pPolygons) == 2) {
        py::tuple lPair = py::reinterpret_borrow<py::tuple>(pPolygons);
        lPolygons.mSizes = ToIndices(lPair[0], "polygons sizes", -1, 1, sgMaxCount);
        long long lTotal = 0;
        for (int lSize : lPolygons.mSizes) lTotal += lSize;
        lPolygons.mVertices = ToIndices(lPair[1], "polygons indices", lTotal, 0, lLast);
        return lPolygons;
    }
    if (py::isinstance<py::array>(pPolygons)) {
        py::array lArray = py::reinterpret_borrow<py::array>(pPolygons);
        if (lArray.ndim() != 2)
            throw py::value_error("polygons: expected an (m, k) array, got shape " +
                                  py::str(lArray.attr("shape")).cast<std::string>());
        if (lArray.shape(0) > 0 && lArray.shape(1) < 1)
            throw py::value_error("polygons: polygons need at least one vertex");
        lPolygons.mVertices = ToIndices(lArray.attr("reshape")(-1), "polygons", -1, 0, lLast);
        lPolygons.mSizes.assign(static_cast<size_t>(lArray.shape(0)), static_cast<int>(lArray.shape(1)));
        return lPolygons;
    }
    if (!py::isinstance<py::sequence>(pPolygons) || py::isinstance<py::str>(pPolygons))
        throw py::value_error(
            "polygons: expected an (m, k) integer array, a list of index sequences or a tuple "
            "(sizes, indices)");
    size_t lPolygon = 0;
    for (py::handle lItem : py::reinterpret_borrow<py::sequence>(pPolygons)) {
        const std::string lName = "polygons[" + std::to_string(lPolygon++) + "]";
        std::vector<int> lVertices = ToIndices(lItem, lName, -1, 0, lLast);
        if (lVertices.empty()) throw py::value_error(lName + ": a polygon needs at least one vertex");
        if (lPolygons.mVertices.size() + lVertices.size() > static_cast<size_t>(sgMaxCount))
            throw py::value_error("polygons: more than 2147483647 polygon vertices");
        lPolygons.mSizes.push_back(static_cast<int>(lVertices.size()));
        lPolygons.mVertices.insert(lPolygons.mVertices.end(), lVertices.begin(), lVertices.end());
    }
    return lPolygons;
}

py::array_t<int> IntArray(const int* pValues, size_t pCount)
{
    py::array_t<int> lArray(static_cast<py::ssize_t>(pCount));
    if (pCount > 0) std::memcpy(lArray.mutable_data(), pValues, pCount * sizeof(int));
    return lArray;
}

py::array_t<double> DoubleRows(size_t pRows, size_t pColumns)
{
    return py::array_t<double>({static_cast<py::ssize_t>(pRows), static_cast<py::ssize_t>(pColumns)});
}

}  // namespace moxpython
