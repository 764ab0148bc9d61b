// Runs one workload of one contender once, for instruction counts:
//   valgrind --tool=callgrind --toggle-collect=bench_measured
//       dbi_bench_profile <contender index> <workload> <rows>
// Without arguments it lists the contenders and workloads; with "memory" it
// prints the bytes each kind of record takes in a vector of 100,000.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <dbi/dbi.h>

#include "Typed.h"
#include "Workload.h"

using namespace bench;

namespace {

constexpr int kRecords = 100000;

// The 12 columns as text, as a record without field machinery holds them.
struct TextElement {
    std::string columns[12];
};

// Bytes the allocator handed out, large blocks (own mappings) included.
std::size_t heapBytes() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

// Heap bytes per record of a vector holding kRecords records made by `make`.
template <class Record, class Make>
void printBytesPerRecord(const char* kind, Make make) {
    const std::size_t before = heapBytes();
    {
        std::vector<Record> records;
        records.reserve(kRecords);
        for (int i = 1; i <= kRecords; ++i) records.push_back(make(sampleRow(i)));
        const std::size_t held = heapBytes() - before;
        std::printf("%s|%zu|%zu\n", kind, sizeof(Record), held / kRecords);
    }
}

void printMemory() {
    printBytesPerRecord<dbi::library::Element>("dbi::library::Element", [](const Row& r) {
        return dbi::library::Element(r.slotNumber, r.partitionId, static_cast<short>(r.scsiType), r.geoLocation,
                                     r.sourceGeoLocation, r.elementAccess, r.elementExcept, r.elementFull, r.volser,
                                     r.descriptor, r.scanInProgress);
    });
    printBytesPerRecord<TextElement>("struct of 12 strings", [](const Row& r) {
        return TextElement{{std::to_string(1), std::to_string(r.slotNumber), std::to_string(r.partitionId),
                            std::to_string(r.scsiType), r.geoLocation, r.sourceGeoLocation, boolText(r.elementAccess),
                            boolText(r.elementExcept), boolText(r.elementFull), r.volser, r.descriptorText,
                            boolText(r.scanInProgress)}};
    });
    printBytesPerRecord<TypedElement>("typed struct", [](const Row& r) {
        return TypedElement{1, r.slotNumber, r.partitionId, r.scsiType, r.geoLocation, r.sourceGeoLocation,
                            r.elementAccess, r.elementExcept, r.elementFull, r.volser, r.descriptorText,
                            r.scanInProgress};
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "memory") == 0) {
        printMemory();
        return 0;
    }
    const Workload workloads[] = {Workload::Insert, Workload::InsertAutocommit, Workload::SelectAll, Workload::Get,
                                  Workload::Update};
    std::vector<std::unique_ptr<Contender>> contenders = allContenders();
    if (argc != 4) {
        for (std::size_t i = 0; i < contenders.size(); ++i) std::printf("contender %zu %s\n", i, contenders[i]->name());
        for (Workload w : workloads) std::printf("workload %s\n", workloadName(w));
        return argc == 1 ? 0 : 2;
    }
    const std::size_t index = std::strtoul(argv[1], nullptr, 10);
    for (Workload w : workloads)
        if (index < contenders.size() && std::strcmp(argv[2], workloadName(w)) == 0) {
            runOnce(*contenders[index], w, std::atoi(argv[3]));
            return 0;
        }
    std::fprintf(stderr, "unknown contender or workload\n");
    return 2;
}
