// moxmesh: the command-line tool of moxsdk. See commandline.h for the commands and commands.h for what
// each does.
#include <iostream>

#include "cli/commandline.h"
#include "io/stagedoutput.h"

int main(int argc, char** argv)
{
    moxmeshtool::StagedOutput::RemoveOnInterrupt();
    return moxmeshtool::RunCommandLine(argc, argv, std::cout, std::cerr);
}
