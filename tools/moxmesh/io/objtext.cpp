#include "io/objtext.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace moxmeshtool {
namespace {

// The most vertices a face may have here: tinyobjloader counts a face's vertices in one byte, and the
// reader restores larger faces on its own path.
constexpr int sgMaxFaceVertices = 255;
// The most digits of an index read here (9 always fit an int).
constexpr int sgMaxIndexDigits = 9;

bool IsBlank(char pChar)
{
    return pChar == ' ' || pChar == '\t';
}

bool IsDigit(char pChar)
{
    return static_cast<unsigned>(pChar - '0') < 10u;
}

// The part of a line still to read.
struct Cursor {
    const char* mAt;
    const char* mEnd;

    bool AtEnd() const { return mAt == mEnd; }
    void SkipBlanks()
    {
        while (mAt != mEnd && IsBlank(*mAt)) ++mAt;
    }
    // The next blank-separated token; empty at the line's end.
    Cursor Token()
    {
        SkipBlanks();
        const char* lStart = mAt;
        while (mAt != mEnd && !IsBlank(*mAt)) ++mAt;
        return Cursor{lStart, mAt};
    }
    // True, past pStatement, when the line starts with it and a blank.
    bool Take(const char* pStatement)
    {
        const char* lAt = mAt;
        for (; *pStatement; ++pStatement, ++lAt)
            if (lAt == mEnd || *lAt != *pStatement) return false;
        if (lAt == mEnd || !IsBlank(*lAt)) return false;
        mAt = lAt;
        return true;
    }
};

// A decimal exponent with its sign at pAt, into pExponent; the next position, or null when there are no
// digits or the exponent would overflow an int.
const char* ReadExponent(const char* pAt, const char* pEnd, int& pExponent)
{
    int lSign = 1;
    if (pAt != pEnd && (*pAt == '+' || *pAt == '-')) lSign = *pAt++ == '-' ? -1 : 1;
    int lDigits = 0;
    pExponent = 0;
    for (; pAt != pEnd && IsDigit(*pAt); ++pAt, ++lDigits) {
        if (pExponent > 2147483647 / 10) return nullptr;
        pExponent = pExponent * 10 + (*pAt - '0');
    }
    pExponent *= lSign;
    return lDigits == 0 ? nullptr : pAt;
}

// A whole token as a number, by tinyobjloader's steps: the integer digits accumulated (times ten, plus
// the digit), each fraction digit added times its power of ten (from a table up to 10^-7), an exponent
// applied as 5^e * 2^e. False for a token that is not all number.
bool ReadReal(Cursor pToken, double& pValue)
{
    static const double sgPowers[] = {1.0, 0.1, 0.01, 0.001, 0.0001, 0.00001, 0.000001, 0.0000001};
    const char* lAt = pToken.mAt;
    const char* const lEnd = pToken.mEnd;
    if (lAt == lEnd) return false;
    int lSign = 1;
    if (*lAt == '+' || *lAt == '-') lSign = *lAt++ == '-' ? -1 : 1;
    double lMantissa = 0.0;
    int lRead = 0;
    if (lAt == lEnd || *lAt != '.') {
        for (; lAt != lEnd && IsDigit(*lAt); ++lAt, ++lRead) {
            lMantissa *= 10;
            lMantissa += static_cast<int>(*lAt - '0');
        }
        if (lRead == 0) return false;
    }
    if (lAt != lEnd && *lAt == '.')
        for (++lAt, lRead = 1; lAt != lEnd && IsDigit(*lAt); ++lAt, ++lRead)
            lMantissa += static_cast<int>(*lAt - '0') * (lRead < 8 ? sgPowers[lRead] : std::pow(10.0, -lRead));
    int lExponent = 0;
    if (lAt != lEnd && (*lAt == 'e' || *lAt == 'E')) lAt = ReadExponent(lAt + 1, lEnd, lExponent);
    if (lAt != lEnd) return false;
    pValue = lSign * (lExponent ? std::ldexp(lMantissa * std::pow(5.0, lExponent), lExponent) : lMantissa);
    return true;
}

// pCount numbers, then the line's end.
bool ReadReals(Cursor& pLine, int pCount, MeshArray<double>& pValues)
{
    for (int i = 0; i < pCount; ++i) {
        double lValue = 0.0;
        if (!ReadReal(pLine.Token(), lValue)) return false;
        pValues.push_back(lValue);
    }
    pLine.SkipBlanks();
    return pLine.AtEnd();
}

// A positive index (1 to 9 digits) at pAt, made 0-based; the next position, or null.
const char* ReadIndex(const char* pAt, const char* pEnd, int& pIndex)
{
    int lValue = 0;
    int lDigits = 0;
    for (; pAt != pEnd && IsDigit(*pAt) && lDigits < sgMaxIndexDigits; ++pAt, ++lDigits)
        lValue = lValue * 10 + (*pAt - '0');
    if (lDigits == 0 || lValue == 0 || (pAt != pEnd && IsDigit(*pAt))) return nullptr;
    pIndex = lValue - 1;
    return pAt;
}

// One face vertex: "v", "v/t", "v//n" or "v/t/n".
bool ReadCorner(Cursor pToken, int& pVertex, int& pUV, int& pNormal)
{
    const char* lAt = ReadIndex(pToken.mAt, pToken.mEnd, pVertex);
    pUV = pNormal = -1;
    if (!lAt || lAt == pToken.mEnd) return lAt != nullptr;
    if (*lAt++ != '/') return false;
    if (lAt != pToken.mEnd && *lAt != '/') lAt = ReadIndex(lAt, pToken.mEnd, pUV);
    if (!lAt || lAt == pToken.mEnd) return lAt != nullptr && pUV >= 0;
    if (*lAt++ != '/') return false;
    lAt = ReadIndex(lAt, pToken.mEnd, pNormal);
    return lAt == pToken.mEnd;
}

// Records pIndex for the latest polygon vertex (pArrays.mVertices' last); an index array stays empty as
// long as every index it would hold is -1, and is filled with -1 up to the corner that first has one.
void AddIndex(int pIndex, const ObjArrays& pArrays, MeshArray<int>& pIndices)
{
    if (pIndices.empty()) {
        if (pIndex < 0) return;
        pIndices.reserve(pArrays.mVertices.capacity());
        pIndices.assign(pArrays.mVertices.size() - 1, -1);
    }
    pIndices.push_back(pIndex);
}

// The statement after "f": its vertices, as many as it has.
bool ReadFace(Cursor& pLine, ObjArrays& pArrays)
{
    int lCount = 0;
    for (Cursor lToken = pLine.Token(); lToken.mAt != lToken.mEnd; lToken = pLine.Token(), ++lCount) {
        int lVertex = 0;
        int lUV = 0;
        int lNormal = 0;
        if (!ReadCorner(lToken, lVertex, lUV, lNormal)) return false;
        pArrays.mVertices.push_back(lVertex);
        AddIndex(lUV, pArrays, pArrays.mUVIndices);
        AddIndex(lNormal, pArrays, pArrays.mNormalIndices);
    }
    if (lCount < 3 || lCount > sgMaxFaceVertices) return false;
    pArrays.mPolygonSizes.push_back(lCount);
    return true;
}

// One statement (a line without its end); false when tinyobjloader must read the text.
bool ReadStatement(Cursor pLine, ObjArrays& pArrays)
{
    pLine.SkipBlanks();
    if (pLine.AtEnd() || *pLine.mAt == '#') return true;
    if (pLine.Take("v")) return ReadReals(pLine, 3, pArrays.mPositions);
    if (pLine.Take("vt")) return ReadReals(pLine, 2, pArrays.mUVs);
    if (pLine.Take("vn")) return ReadReals(pLine, 3, pArrays.mNormals);
    if (pLine.Take("f")) return ReadFace(pLine, pArrays);
    // Objects, groups and smoothing groups, when named: the mesh is read whole.
    if (pLine.Take("o") || pLine.Take("g") || pLine.Take("s")) return !pLine.Token().AtEnd();
    return false;
}

// How many values and polygon vertices the text states, counted ahead so that each array is allocated
// once (growing one would copy it and touch fresh memory again). Lines are taken up to "\n" only and a
// face's polygon vertices are its blank-separated words: where that miscounts (lines ended by "\r"
// alone), an array grows as it would anyway.
struct StatementCounts {
    size_t mPositions = 0;
    size_t mUVs = 0;
    size_t mNormals = 0;
    size_t mFaces = 0;
    size_t mCorners = 0;
};

// The words of [pBegin, pEnd) that follow a blank: a face's polygon vertices after its "f".
size_t CountWordsAfterBlanks(const char* pBegin, const char* pEnd)
{
    size_t lCount = 0;
    for (const char* lAt = pBegin; lAt + 1 < pEnd; ++lAt) lCount += IsBlank(lAt[0]) && !IsBlank(lAt[1]) ? 1 : 0;
    return lCount;
}

StatementCounts CountStatements(const char* pBegin, const char* pEnd)
{
    StatementCounts lCounts;
    for (const char* lAt = pBegin; lAt < pEnd;) {
        const void* lNewLine = std::memchr(lAt, '\n', static_cast<size_t>(pEnd - lAt));
        const char* lLineEnd = lNewLine ? static_cast<const char*>(lNewLine) : pEnd;
        Cursor lLine{lAt, lLineEnd};
        lLine.SkipBlanks();
        if (lLine.Take("v"))
            ++lCounts.mPositions;
        else if (lLine.Take("vt"))
            ++lCounts.mUVs;
        else if (lLine.Take("vn"))
            ++lCounts.mNormals;
        else if (lLine.Take("f")) {
            ++lCounts.mFaces;
            lCounts.mCorners += CountWordsAfterBlanks(lLine.mAt, lLineEnd);
        }
        lAt = lLineEnd == pEnd ? pEnd : lLineEnd + 1;
    }
    return lCounts;
}

void Reserve(const StatementCounts& pCounts, ObjArrays& pArrays)
{
    pArrays.mPositions.reserve(3 * pCounts.mPositions);
    pArrays.mUVs.reserve(2 * pCounts.mUVs);
    pArrays.mNormals.reserve(3 * pCounts.mNormals);
    pArrays.mPolygonSizes.reserve(pCounts.mFaces);
    pArrays.mVertices.reserve(pCounts.mCorners);
}

// Every index names a value that the file has.
bool IndicesInRange(const MeshArray<int>& pIndices, size_t pValueCount)
{
    return std::none_of(pIndices.begin(), pIndices.end(), [pValueCount](int pIndex) {
        return pIndex >= 0 && static_cast<size_t>(pIndex) >= pValueCount;
    });
}

}  // namespace

bool ParsePlainObj(const char* pBegin, const char* pEnd, ObjArrays& pArrays)
{
    pArrays = ObjArrays();
    Reserve(CountStatements(pBegin, pEnd), pArrays);
    for (const char* lAt = pBegin; lAt != pEnd;) {
        const char* lLineEnd = lAt;
        while (lLineEnd != pEnd && *lLineEnd != '\n' && *lLineEnd != '\r' && *lLineEnd != '\0') ++lLineEnd;
        if (lLineEnd != pEnd && *lLineEnd == '\0') return false;
        if (!ReadStatement(Cursor{lAt, lLineEnd}, pArrays)) return false;
        lAt = lLineEnd;
        if (lAt != pEnd && *lAt++ == '\r' && lAt != pEnd && *lAt == '\n') ++lAt;
    }
    return IndicesInRange(pArrays.mVertices, pArrays.mPositions.size() / 3) &&
           IndicesInRange(pArrays.mUVIndices, pArrays.mUVs.size() / 2) &&
           IndicesInRange(pArrays.mNormalIndices, pArrays.mNormals.size() / 3);
}

}  // namespace moxmeshtool
