# One line per test file, relative to tests/, without extension. Kept sorted.
mox_add_test(core/base/moxarray_test)
mox_add_test(core/base/moxcontainerallocators_test)
mox_add_test(core/base/moxredblacktree_test)
mox_add_test(core/moxassert_test)
mox_add_test(core/moxmemory_test)
mox_add_test(core/moxvalues_test)
