// Sorts over indices.
#include "Common/Digest.h"

namespace digest {

namespace {

// Two scans move towards each other and exchange what stands on the wrong side of the pivot, which
// keeps its place until they meet. Returns where the pivot ends up.
int Partition(int first, int last, void* context, CompareAt compare, SwapAt exchange) {
    const int pivot = first + (last - first) / 3;
    int low = first;
    int high = last;
    for (;;) {
        while (low <= high && (low == pivot || compare(low, pivot, context) < 0))
            ++low;
        while (low <= high && (high == pivot || compare(high, pivot, context) > 0))
            --high;
        if (low >= high) break;
        exchange(low++, high--, context);
    }
    const int meeting = pivot < low ? low - 1 : low;
    if (meeting != pivot) exchange(pivot, meeting, context);
    return meeting;
}

void Merge(int first, int middle, int last, void* context, CompareAt compare, MoveTo move) {
    int left = first;
    int right = middle + 1;
    while (left < right && right <= last) {
        if (compare(left, right, context) > 0) move(right++, left, context);
        ++left;
    }
}

}  // namespace

void qsort(int first, int last, void* context, CompareAt compare, SwapAt exchange) {
    if (compare == nullptr || exchange == nullptr) return;
    while (first < last) {
        const int middle = Partition(first, last, context, compare, exchange);
        // Recursion takes the smaller side only, so the stack stays small on any input.
        if (middle - first < last - middle) {
            qsort(first, middle - 1, context, compare, exchange);
            first = middle + 1;
        } else {
            qsort(middle + 1, last, context, compare, exchange);
            last = middle - 1;
        }
    }
}

void MergeSort(int first, int last, void* context, CompareAt compare, SwapAt exchange,
               MoveTo move) {
    if (first >= last || compare == nullptr || exchange == nullptr || move == nullptr) return;
    if (last - first == 1) {
        if (compare(first, last, context) > 0) exchange(first, last, context);
        return;
    }
    const int middle = first + (last - first) / 2;
    MergeSort(first, middle, context, compare, exchange, move);
    MergeSort(middle + 1, last, context, compare, exchange, move);
    Merge(first, middle, last, context, compare, move);
}

}  // namespace digest
