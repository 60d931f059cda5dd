# The library's sources, relative to src/. One line per file, kept sorted.
set(MOXSDK_SOURCES
  core/base/moxcontainerallocators.cxx
  core/base/moxredblacktree.cxx
  core/math/moxamatrix.cxx
  core/math/moxmath.cxx
  core/moxassert.cxx
  core/moxmemory.cxx
  core/moxstring.cxx
)
