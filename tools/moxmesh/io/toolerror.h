#pragma once
// ToolError: a failure that ends a command. It names the file concerned and the problem, and prints as
// one line, "<file>: <problem>", so that a pipeline's log shows exactly what went wrong where.

#include <stdexcept>
#include <string>

namespace moxmeshtool {

class ToolError : public std::runtime_error {
public:
    ToolError(const std::string& pFile, const std::string& pProblem)
        : std::runtime_error(pFile + ": " + OneLine(pProblem)), mFile(pFile), mProblem(OneLine(pProblem))
    {}

    const std::string& File() const { return mFile; }
    const std::string& Problem() const { return mProblem; }

    // pText on one line: line breaks and tabs become single spaces, and surrounding blanks are trimmed
    // (messages of the reading libraries often end in a line break or span several lines).
    static std::string OneLine(const std::string& pText)
    {
        std::string lLine;
        bool lPendingSpace = false;
        for (char lChar : pText) {
            const bool lBlank = lChar == '\n' || lChar == '\r' || lChar == '\t' || lChar == ' ';
            if (lBlank) {
                lPendingSpace = !lLine.empty();
                continue;
            }
            if (lPendingSpace) lLine += ' ';
            lPendingSpace = false;
            lLine += lChar;
        }
        return lLine;
    }

private:
    std::string mFile;
    std::string mProblem;
};

}  // namespace moxmeshtool
