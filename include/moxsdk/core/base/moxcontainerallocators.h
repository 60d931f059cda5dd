#pragma once
// Record allocators of the ordered containers. A container constructs its allocator with the size of
// one record and asks it for records one request at a time:
//
//   ALLOCATOR(size_t pRecordSize);
//   void  Reserve(size_t pRecordCount);         // a hint; what it does depends on the allocator
//   void* AllocateRecords(size_t pRecordCount); // memory for pRecordCount records, nullptr on failure
//   void  FreeMemory(void* pRecord);            // gives back what AllocateRecords handed out
//
// Records are placed at the address handed out; an allocator never realigns them, so their alignment
// follows from the record size and the heap's alignment only.
//
// A heap request that fails is reported through _MoxAssert with the file
// "core/base/moxcontainerallocators" and the name of the pointer that came back null, once, where the
// request was made; the containers above pass the null on without a report of their own.

#include <cstddef>

namespace moxsdk {

// Goes to the heap (MoxMalloc, MoxFree) for every request.
class MoxBaseAllocator {
public:
    explicit MoxBaseAllocator(size_t pRecordSize) : mRecordSize(pRecordSize) {}

    // Does nothing: there is no pool to fill.
    void Reserve(size_t /*pRecordCount*/) {}
    // MoxMalloc(pRecordCount x record size); nullptr, after the report "lRecords", when the heap refuses
    // or the size overflows.
    void* AllocateRecords(size_t pRecordCount = 1) const;
    // MoxFree(pRecord).
    static void FreeMemory(void* pRecord);
    // Does nothing: every record went back to the heap with FreeMemory.
    void ReleaseAll() {}

    size_t GetRecordSize() const { return mRecordSize; }

private:
    size_t mRecordSize;
};

// Carves records out of large blocks that it keeps until it is destroyed. FreeMemory does nothing, so
// a container that removes records does not get their memory back; destroying the allocator frees
// every block at once. Made for containers that insert many small records and drop them together.
//
// Growth: when no block can serve a request for n records, the allocator reserves a block of
// max(growth, n) records, where growth is one eighth of all records reserved so far (integer
// division) once that total is 8 or more, and 2 before. A block never hands out the last record-sized
// chunk that would end exactly at its end (see MemoryBlock::GetChunk), so a block reserved for exactly
// n records cannot serve a request for n records and the allocator reserves again. With one-record
// requests this means: a block of 2 serves one request only, so below 8 pooled records every request
// reserves a new 2-record block; from 8 to 15 the growth is 1, so a request reserves 1-record blocks
// that cannot serve until the pool holds 16, after which a block of 2 or more serves it. This wasteful
// pattern is the allocator's defined behaviour.
//
// Failure: a block whose memory cannot be had is released at once and not counted; AllocateRecords
// then returns nullptr. The report names what was missing: "lBlock" (from AddBlock) when the block
// object cannot be had, "mData" (from MemoryBlock) when its memory cannot. A record size of 0 has
// nothing to hand out: AllocateRecords returns nullptr (no heap request, no report).
class MoxHungryAllocator {
public:
    // FreeMemory does nothing, so a container may drop records that need no destruction without handing
    // each one back.
    static constexpr bool sgFreeMemoryDoesNothing = true;

    // One block of the pool. The list of blocks runs from the newest to the oldest.
    class MemoryBlock {
    public:
        // MoxMalloc(pSize) bytes; when that fails (reported as "mData") the block has no memory and serves
        // nothing.
        explicit MemoryBlock(size_t pSize);
        ~MemoryBlock();
        MemoryBlock(const MemoryBlock&) = delete;
        MemoryBlock(MemoryBlock&&) = delete;
        MemoryBlock& operator=(const MemoryBlock&) = delete;
        MemoryBlock& operator=(MemoryBlock&&) = delete;

        // The next pSize bytes, or nullptr when they would reach the block's end. The refusal includes
        // the exact fit: a request ending on the block's very last byte is refused, so the block's
        // last record is never handed out to a request that would use it up.
        void* GetChunk(size_t pSize);

        const MemoryBlock* GetNextBlock() const { return mNextBlock; }
        const char* GetData() const { return mData; }
        const char* GetFreeData() const { return mFreeData; }
        const char* GetEnd() const { return mEnd; }

    private:
        friend class MoxHungryAllocator;

        MemoryBlock* mNextBlock;  // the block reserved before this one, nullptr for the oldest
        char* mData;              // start of the block's memory
        char* mFreeData;          // first unused byte
        char* mEnd;               // one past the last byte
    };

    explicit MoxHungryAllocator(size_t pRecordSize);
    // Deletes every block, newest first: each frees its memory, then is itself freed.
    ~MoxHungryAllocator();
    MoxHungryAllocator(const MoxHungryAllocator&) = delete;
    MoxHungryAllocator(MoxHungryAllocator&&) = delete;
    MoxHungryAllocator& operator=(const MoxHungryAllocator&) = delete;
    MoxHungryAllocator& operator=(MoxHungryAllocator&&) = delete;

    // Puts a new block of pRecordCount records in front of the list and adds pRecordCount to the pool
    // size. When the memory cannot be had, nothing changes.
    void Reserve(size_t pRecordCount);
    // A chunk of pRecordCount records from the newest block that can serve it, growing the pool as
    // described above when none can; nullptr when memory runs out. O(number of blocks).
    void* AllocateRecords(size_t pRecordCount = 1);
    // Does nothing: records return to the heap only with the allocator, or with ReleaseAll.
    void FreeMemory(void* /*pRecord*/) {}
    // Frees every block, newest first, and empties the pool, as if the allocator were new. Only for a
    // container that holds no record any more.
    void ReleaseAll();

    size_t GetRecordSize() const { return mRecordSize; }
    // Records reserved so far over all blocks.
    size_t GetRecordPoolSize() const { return mRecordPoolSize; }
    // The newest block, nullptr before the first reservation.
    const MemoryBlock* GetBlocks() const { return mData; }

private:
    bool AddBlock(size_t pRecordCount);

    size_t mRecordSize;
    size_t mRecordPoolSize;
    MemoryBlock* mData;
};

}  // namespace moxsdk
