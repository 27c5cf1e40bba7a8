// The slot layout of a data set's row images, rebuilt when the columns change.
#pragma once

#include <vexapi/grid/acdataset.h>

#include <vexapi/core/types.h>

#include <vector>

namespace VexAPI {

// Offsets and sizes of every column's slot in the raw (szData) and nulled (szDataTiled)
// images, by column number, and the slot order. It is valid while the columns' type, size
// and physical index, the null flags and the stamps are those it was made from.
struct aCDataSetLayoutData {
    struct Snap {
        unsigned char type;
        VLong size;
        VLong phys;
        const void* column;
    };
    std::vector<Snap> snap;  // by column number - 1
    bool nullFlags = false;
    bool permuted = false;
    unsigned stampGeneration = 0;
    std::vector<VLong> off3, size3, off4, size4; // by column number - 1
    std::vector<VLong> order;                    // column numbers in slot order
    VLong total3 = 0, total4 = 0;
    bool built = false;
    bool dirty = false; // rebuild on next use, keeping this one as the previous layout
};

struct aCDataSet::Layout : aCDataSetLayoutData {};

} // namespace VexAPI
