// Stubs, kernel tables and tag tables, by name as a front end finds them.

#include "nvo_ark/vector_math.h"

#include <array>
#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <string>

namespace {

struct Row {
    const char* name; // with its type letter
    char type;
    char cls;
    bool three; // kernels
};

constexpr bool three = true, one = false;
#define NVO_TEXT(x) #x
#define ROW(t, row, op, cls, form, kernels, tags) {NVO_TEXT(t##row), *#t, *#cls, kernels},
constexpr Row rows[] = {
#include "frame/operations.def"
};

void* find(const std::string& name) {
    void* address = dlsym(RTLD_DEFAULT, name.c_str());
    EXPECT_NE(nullptr, address) << name;
    return address;
}

struct Stub {
    std::string suffix;
    int slot;
};

std::array<Stub, 4> stubs_of(const Row& row) {
    const bool is_float = row.type == 's' || row.type == 'c';
    return {{{"", 1}, {"_HA", 1}, {is_float ? "_21" : "_50", 0}, {is_float ? "_11" : "_26", 2}}};
}

// What a stub does, read from its machine code: load the address of the table from a slot of the global offset table
// (or directly, where the linker saw that the table is the library's own), load a slot of the table, jump. Class P
// sets the flag in the fifth integer register first.
struct Decoded {
    bool sets_flag;
    const void* table;
    int slot;
};

Decoded decode(const unsigned char* code) {
    Decoded stub{false, nullptr, -1};
    const unsigned char set_flag[] = {0x41, 0xB8, 1, 0, 0, 0};
    if (std::memcmp(code, set_flag, sizeof set_flag) == 0) {
        stub.sets_flag = true;
        code += sizeof set_flag;
    }
    std::int32_t displacement;
    std::memcpy(&displacement, code + 3, sizeof displacement);
    const unsigned char* target = code + 7 + displacement;
    const bool through_got = code[0] == 0x48 && code[1] == 0x8B && code[2] == 0x05;
    const bool direct = code[0] == 0x48 && code[1] == 0x8D && code[2] == 0x05;
    if (through_got) std::memcpy(&stub.table, target, sizeof stub.table);
    if (direct) stub.table = target;
    code += 7;
    if (code[0] != 0x48 || code[1] != 0x8B) return stub;
    const bool first_slot = code[2] == 0x00;
    if (!first_slot && code[2] != 0x40) return stub;
    const int slot = first_slot ? 0 : code[3] / 8;
    code += first_slot ? 3 : 4;
    if (code[0] == 0xFF && code[1] == 0xE0) stub.slot = slot;
    return stub;
}

TEST(Stubs, AreThreeMachineOperationsToTheSlotOfTheirName) {
    for (const Row& row : rows) {
        const void* table = find(std::string("nvo_ark_kernel_") + row.name + "_ttab");
        for (const auto& [suffix, slot] : stubs_of(row)) {
            const std::string name = std::string("_ark") + row.name + suffix;
            const Decoded stub = decode(static_cast<const unsigned char*>(find(name)));
            EXPECT_EQ(table, stub.table) << name;
            EXPECT_EQ(slot, stub.slot) << name;
            EXPECT_EQ(row.cls == 'P', stub.sets_flag) << name;
        }
    }
}

TEST(Stubs, SuffixesGoWithTheType) {
    EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "_arkdExp_11"));
    EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "_arksExp_26"));
    EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "_arkzExp_21"));
    EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "_arksPackII"));
}

TEST(Tables, SlotsHoldTheKernelsOfTheirAccuracy) {
    int with_three = 0;
    for (const Row& row : rows) {
        const std::string prefix = std::string("nvo_ark_kernel_") + row.name;
        void* table[3];
        std::memcpy(table, find(prefix + "_ttab"), sizeof table);
        void* high = find(prefix + "_E2HAynn");
        EXPECT_EQ(high, table[1]) << row.name;
        EXPECT_EQ(row.three ? find(prefix + "_E2LAynn") : high, table[0]) << row.name;
        EXPECT_EQ(row.three ? find(prefix + "_E2EPnnn") : high, table[2]) << row.name;
        with_three += row.three;
    }
    EXPECT_EQ(24, with_three);
}

TEST(Tables, Tags) {
    const struct {
        const char* row;
        float tags[3];
    } expected[] = {
        {"sSinpi", {111.2F, 111.3F, 111.1F}},  {"dTandI", {111.2F, 111.3F, 111.1F}},
        {"sAcospi", {111.3F, 111.3F, 111.3F}}, {"dPowrI", {111.3F, 111.3F, 111.3F}},
        {"dErfcx", {1.0F, 1.0F, 1.0F}},        {"zUnpackV", {1.0F, 1.0F, 1.0F}},
        {"sSinCospiI", {1.0F, 1.0F, 1.0F}},    {"sSinCos", {3.0F, 3.0F, 3.0F}},
        {"zPowxI", {3.0F, 3.0F, 3.0F}},
    };
    for (const auto& [row, tags] : expected) {
        const void* found = find(std::string("nvo_ark_kernel_") + row + "_ctab");
        EXPECT_EQ(0, std::memcmp(tags, found, sizeof tags)) << row;
    }
    // How many rows have each first tag.
    int by_kernel = 0, t111 = 0, t1 = 0, t3 = 0;
    for (const Row& row : rows) {
        const float tag = *static_cast<const float*>(find(std::string("nvo_ark_kernel_") + row.name + "_ctab"));
        by_kernel += tag == 111.2F;
        t111 += tag == 111.3F;
        t1 += tag == 1.0F;
        t3 += tag == 3.0F;
    }
    EXPECT_EQ(24, by_kernel);
    EXPECT_EQ(18 * 2 * 2, t111);
    EXPECT_EQ(10 * 2 * 2 + 6 * 4, t1);
    EXPECT_EQ(480 - 24 - 72 - 64, t3);
}

// Puts a probe into a slot of a table for the time of a call.
template <class Kernel> class Replaced {
public:
    Replaced(Kernel*& slot, Kernel* probe) : slot_(slot), kernel_(slot) { slot_ = probe; }
    ~Replaced() { slot_ = kernel_; }
    Replaced(const Replaced&) = delete;
    Replaced& operator=(const Replaced&) = delete;

private:
    Kernel*& slot_;
    Kernel* kernel_;
};

TEST(Stubs, ReadTheirTableAtEachCallAndPassAllArgumentsThrough) {
    static std::array<double, 4> scalars;
    static std::array<std::int32_t, 4> integers;
    static std::array<const void*, 3> vectors;
    const Replaced probe(
        nvo_ark_kernel_dLinearFracI_ttab[2],
        +[](std::int32_t n, const double* a, std::int32_t inca, const double* b, std::int32_t incb, double scalea,
            double shifta, double scaleb, double shiftb, double* y, std::int32_t incy) {
            integers = {n, inca, incb, incy};
            vectors = {a, b, y};
            scalars = {scalea, shifta, scaleb, shiftb};
        });
    double v[3] = {};
    _arkdLinearFracI_26(5, v, -6, v + 1, 7, 1.5, 2.5, 3.5, 4.5, v + 2, 8);
    EXPECT_EQ((std::array<std::int32_t, 4>{5, -6, 7, 8}), integers);
    EXPECT_EQ((std::array<const void*, 3>{v, v + 1, v + 2}), vectors);
    EXPECT_EQ((std::array<double, 4>{1.5, 2.5, 3.5, 4.5}), scalars);
}

TEST(Stubs, PackAndUnpackGetFlag1) {
    static std::int32_t seen;
    {
        const Replaced probe(
            nvo_ark_kernel_cPackI_ttab[0],
            +[](std::int64_t, const ArkComplex8*, std::int64_t, ArkComplex8*, std::int32_t flag) { seen = flag; });
        _arkcPackI_21(1, nullptr, 1, nullptr);
    }
    EXPECT_EQ(1, seen);
}

} // namespace
