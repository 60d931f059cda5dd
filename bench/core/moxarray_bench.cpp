// MoxArray's growing operations on ints, 10k to 1M elements, next to the same work on std::vector so
// the ratio can be read from one run.
#include <vector>

#include <benchmark/benchmark.h>

#include "moxsdk/core/base/moxarray.h"

namespace {

using moxsdk::MoxArray;

void SizeRange(benchmark::internal::Benchmark* pBenchmark)
{
    pBenchmark->RangeMultiplier(10)->Range(10000, 1000000);
}

// Appends one element at a time from empty: capacity doubling.
void BM_MoxArrayAdd(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    for (auto _ : pState) {
        MoxArray<int> lArray;
        for (int i = 0; i < lCount; ++i) lArray.Add(i);
        benchmark::DoNotOptimize(lArray.GetArray());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
}
BENCHMARK(BM_MoxArrayAdd)->Apply(SizeRange);

void BM_StdVectorPushBack(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    for (auto _ : pState) {
        std::vector<int> lVector;
        lVector.reserve(lCount);
        for (int i = 0; i < lCount; ++i) lVector.push_back(i);
        benchmark::DoNotOptimize(lVector.data());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
}
BENCHMARK(BM_StdVectorPushBack)->Apply(SizeRange);

// One Resize from empty (a single zero-filled block), then every element written.
void BM_MoxArrayResize(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    for (auto _ : pState) {
        MoxArray<int> lArray;
        lArray.Resize(lCount);
        int* lData = lArray.GetArray();
        for (int i = 0; i < lCount; ++i) lData[i] = i;
        benchmark::DoNotOptimize(lData);
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
}
BENCHMARK(BM_MoxArrayResize)->Apply(SizeRange);

void BM_StdVectorResize(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    for (auto _ : pState) {
        std::vector<int> lVector;
        lVector.resize(static_cast<size_t>(lCount));
        for (int i = 0; i < lCount; ++i) lVector[static_cast<size_t>(i)] = i;
        benchmark::DoNotOptimize(lVector.data());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
}
BENCHMARK(BM_StdVectorResize)->Apply(SizeRange);

// Appends a whole array of the given size to a target that already holds 1000 elements: one exact
// reallocation and one block copy.
void BM_MoxArrayAddArray(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    MoxArray<int> lSource;
    lSource.Resize(lCount);
    MoxArray<int> lStart;
    lStart.Resize(1000);
    for (auto _ : pState) {
        MoxArray<int> lArray(lStart);
        lArray.AddArray(lSource);
        benchmark::DoNotOptimize(lArray.GetArray());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
}
BENCHMARK(BM_MoxArrayAddArray)->Apply(SizeRange);

void BM_StdVectorInsert(benchmark::State& pState)
{
    const int lCount = static_cast<int>(pState.range(0));
    const std::vector<int> lSource(static_cast<size_t>(lCount));
    const std::vector<int> lStart(1000);
    for (auto _ : pState) {
        std::vector<int> lVector(lStart);
        lVector.insert(lVector.end(), lSource.begin(), lSource.end());
        benchmark::DoNotOptimize(lVector.data());
    }
    pState.SetItemsProcessed(pState.iterations() * lCount);
}
BENCHMARK(BM_StdVectorInsert)->Apply(SizeRange);

}  // namespace
