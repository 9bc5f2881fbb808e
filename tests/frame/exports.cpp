// What the library exports, imports and holds in writable memory, read from its file.

#include "tests/support/elf_symbols.h"

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <iterator>
#include <set>
#include <string>

namespace {

using nvo::tests::ElfFile;
using nvo::tests::ElfSymbol;
using Names = std::set<std::string>;

const ElfFile& library() {
    static const ElfFile file(NVO_LIBRARY_FILE);
    return file;
}

Names without(const Names& a, const Names& b) {
    Names rest;
    std::set_difference(a.begin(), a.end(), b.begin(), b.end(), std::inserter(rest, rest.end()));
    return rest;
}

struct Listed {
    const char* name; // with its type letter
    char type;
    bool three; // kernels
};
constexpr bool three = true, one = false;
#define NVO_TEXT(x) #x
#define ROW(t, row, op, cls, form, kernels, tags) {NVO_TEXT(t##row), *#t, kernels},
constexpr Listed rows[] = {
#include "frame/operations.def"
};

Names kernels() {
    Names names;
    for (const Listed& row : rows) {
        const std::string prefix = std::string("nvo_ark_kernel_") + row.name;
        names.insert(prefix + "_E2HAynn");
        if (row.three) names.insert({prefix + "_E2LAynn", prefix + "_E2EPnnn"});
    }
    return names;
}

// What streams.h, generators.h and distributions.h declare.
Names streams() {
    Names names = {"__ostAddChunk",
                   "__ostAllocateStream",
                   "__ostCPUisAES",
                   "__ostCPUisRDRAND",
                   "__ostCPUisVAES",
                   "__ostCopyChunks",
                   "__ostCopyStream",
                   "__ostCopyStreamState",
                   "__ostCreateGlobRODataTableEntry",
                   "__ostDeleteChunks",
                   "__ostDeleteChunksById",
                   "__ostDeleteStream",
                   "__ostFindGlobRODataTableEntry",
                   "__ostGenerateNewGlobalRODataTableEntryId",
                   "__ostGetBrngBaseOffset",
                   "__ostGetBrngProperties",
                   "__ostGetNumChunks",
                   "__ostGetNumRegBrngs",
                   "__ostGetStreamSize",
                   "__ostGetStreamStateBrng",
                   "__ostIsBrngValid",
                   "__ostLeapfrogStream",
                   "__ostLoadStreamF",
                   "__ostLoadStreamM",
                   "__ostNewStreamEx",
                   "__ostPolyRem",
                   "__ostRegisterBrng",
                   "__ostRegisterGlobRODataReference",
                   "__ostSaveStreamF",
                   "__ostSaveStreamM",
                   "__ostSearchChunk",
                   "__ostSkipAheadStream",
                   "__ostSkipAheadStreamEx",
                   "__ostUnregisterGlobRODataReference",
                   "__ostdNewAbstractStream",
                   "__ostiNewAbstractStream",
                   "__ostiPowMod",
                   "__ostiPowMod2P31M1",
                   "__ostiPowMod2P59",
                   "__ostiVect3PowArrayMod",
                   "__ostiVect3PowArrayMod_M1",
                   "__ostiVect3PowArrayMod_M2",
                   "__ostiVect3PowMod",
                   "__ostsNewAbstractStream",
                   "_ost_WH_A",
                   "_ost_WH_M",
                   "_ost_mrg32k3a_skipahead_table",
                   "_ost_mt19937_poly",
                   "_ost_mt2203_table",
                   "_ost_sfmt19937_poly",
                   "_ostdRngUniform",
                   "_ostdWH_IM_Tab",
                   "_ostiRngUniform",
                   "_ostiRngUniformBits",
                   "_ostiRngUniformBits32",
                   "_ostiRngUniformBits64",
                   "__ost_SkipAheadHorner",
                   "__ost_SkipAheadSWin",
                   "_ostsRngUniform",
                   "iNiederrIrredPolyDeg",
                   "iSobolIrredPolyDeg",
                   "poly_squared",
                   "uNiederrIrredPoly",
                   "uSobolIrredPoly",
                   "uSobolMInit"};
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) \
    names.insert({"__ostBRng" #Entry "InitStream", "__ostsBRng" #Entry, "__ostdBRng" #Entry, "__ostiBRng" #Entry});
#include "nvo_ark/generators.def"
    return names;
}

// What scalar.h declares.
Names scalars() {
    return {"__ostdFloor",
            "__ostdLGamma",
            "__ostdLn",
            "__ostdSqrt",
            "__ostsLn",
            "nvo_ark_core_atanl_table_128",
            "nvo_ark_core_double_rcp_table_256",
            "nvo_ark_core_expl_table_256",
            "nvo_ark_core_log_table_256",
            "nvo_ark_core_logl_table_256",
            "nvo_ark_core_rcp_table_256",
            "nvo_ark_kernel__dabs_scalar",
            "nvo_ark_kernel__sabs_scalar",
            "nvo_ark_kernel_acoshl_scalar",
            "nvo_ark_kernel_acosl_scalar",
            "nvo_ark_kernel_asinhl_scalar",
            "nvo_ark_kernel_asinl_scalar",
            "nvo_ark_kernel_atan2l_scalar",
            "nvo_ark_kernel_atanhl_scalar",
            "nvo_ark_kernel_atanl_scalar",
            "nvo_ark_kernel_coshl_scalar",
            "nvo_ark_kernel_cosl_scalar",
            "nvo_ark_kernel_expl_scalar",
            "nvo_ark_kernel_fabsl_scalar",
            "nvo_ark_kernel_log1pl_scalar",
            "nvo_ark_kernel_logl_scalar",
            "nvo_ark_kernel_reduce_pi04l",
            "nvo_ark_kernel_sincosl_scalar",
            "nvo_ark_kernel_sinhcoshl_scalar",
            "nvo_ark_kernel_sinhl_scalar",
            "nvo_ark_kernel_sinl_scalar",
            "nvo_ark_kernel_sqrtl_scalar",
            "nvo_ark_kernel_tanhl_scalar",
            "nvo_ark_kernel_tanl_scalar"};
}

// What statistics.h declares.
Names statistics() {
    Names names = {"__ostSSDeleteTask", "__ostSQuantilesFreeBuffers", "__ostiSSEditTask"};
    for (const std::string t : {"s", "d"}) {
        for (const char* verb : {"NewTask", "EditTask", "EditMoments", "EditSums", "EditCovCor", "EditCP",
                                 "EditPartialCovCor", "EditQuantiles", "EditStreamQuantiles", "EditPooledCovariance",
                                 "EditRCov", "EditOutDetect", "EditMissingVals", "EditMtxParametrz"})
            names.insert("__ost" + t + "SS" + verb);
        for (const char* method : {"Basic", "Minmax", "MAD", "Quantiles", "Sort", "WMedian", "StreamQuantiles"})
            names.insert("_ost" + t + "SS" + method);
        names.insert({"__ost" + t + "QSort", "__ost" + t + "QSortStep", "__ost" + t + "QSortSelect",
                      "_v" + t + "SSQuickMapSort"});
    }
    return names;
}

// What primitives.h declares.
Names primitives() {
    const std::string prefix = "nvo_dft_def_";
    Names names;
    for (const char* type : {"8u", "16s", "16sc", "32f", "32fc", "32s", "32sc", "64f", "64fc", "64s", "64sc"})
        for (const std::string family : {"Copy_", "Set_", "Zero_"}) names.insert(prefix + "tyrs" + family + type);
    for (const std::string order : {"Ascend_", "Descend_"}) {
        for (const std::string type : {"64f", "32f", "32s", "32u", "16s", "16u", "8u"}) {
            names.insert(prefix + "tyrsSortRadix" + order + type + "_I");
            if (type != "64f") names.insert(prefix + "tyrsSortRadixIndex" + order + type);
        }
    }
    names.insert({prefix + "ownsCopy_8u", prefix + "ownsZero_8u"});
    for (const std::string type : {"8u", "16u", "32s", "64s", "64sc"})
        names.insert({prefix + "ownsSet_" + type, prefix + "ownsSet_" + type + "_M7"});
    return names;
}

// What fitting.h declares, and the kernels behind it.
Names fitting() {
    Names names = {"nvo_df_kernel_iEditVal", "nvo_df_kernel_iQueryVal", "nvo_df_kernel_DeleteTask"};
    for (const std::string t : {"s", "d"}) {
        const std::string prefix = "nvo_df_kernel_" + t;
        for (const char* verb : {"NewTask1D", "EditPtr", "EditIdxPtr", "EditPPSpline1D", "QueryPtr", "QueryIdxPtr",
                                 "DFSearch1D", "DFInterpolate1D", "DFIntegrate1D"})
            names.insert(prefix + verb);
        for (const char* kind : {"Linear", "Quadratic", "NaturalCubic", "DefaultCubic", "AkimaCubic", "BesselCubic",
                                 "HymanCubic", "HermiteCubic"})
            names.insert(prefix + "DF" + kind + "Spline1D");
        for (const std::string kind : {"Uniform", "QuasiUniform", "Sorted", "Peak", "Hybrid", "UserDef", "UniUserDef"})
            for (const char* form : {"", "32", "64", "64Pack"}) names.insert(prefix + "DF" + kind + "Search1D" + form);
        for (const std::string kind :
             {"Linear", "Quadratic", "Cubic", "QuadSubb", "Arbitr", "StepLeft", "StepRight", "LookUp"})
            for (const char* form : {"32", "64", "32CB", "64CB"})
                names.insert(prefix + "_" + kind + "SplineEval" + form);
        for (const std::string kind : {"Linear", "Quad", "Cub", "Subb", "Arb", "PwL", "PwR"})
            for (const char* form : {"", "CB"}) names.insert(prefix + "_Integrate" + kind + "Spline" + form);
        for (const char* solver : {"dttrfb_4dfl", "dtsvb_4dfl", "dttrsb_4dfl"}) names.insert(t + solver);
    }
    return names;
}

Names all_exports() {
    Names names = kernels();
    names.merge(streams());
    names.merge(scalars());
    names.merge(statistics());
    names.merge(primitives());
    names.merge(fitting());
    for (const Listed& row : rows) {
        const bool is_float = row.type == 's' || row.type == 'c';
        const std::string stub = std::string("_ark") + row.name;
        const std::string table = std::string("nvo_ark_kernel_") + row.name;
        names.insert({stub, stub + "_HA", stub + (is_float ? "_21" : "_50"), stub + (is_float ? "_11" : "_26")});
        names.insert({table + "_ttab", table + "_ctab"});
    }
    for (const char* twin : {"GetMode", "SetMode", "SetErrStatus", "GetErrStatus", "ClearErrStatus", "SetErrorCallBack",
                             "GetErrorCallBack", "ClearErrorCallBack", "SetInterfInputVectorPointer"}) {
        names.insert(std::string("nvo_ark_kernel_") + twin);
        names.insert(std::string("_ark") + twin);
    }
    for (const char* type : {"h", "s", "d", "c", "z"}) {
        names.insert(std::string("nvo_ark_kernel_") + type + "Error");
        names.insert(std::string("nvo_ark_kernel_") + type + "ErrorI");
    }
    names.insert({"nvo_ark_kernel_GetTTableIndex", "nvo_ark_kernel_GetTTableIndexM", "nvo_ark_kernel_ReadEnvVarMode",
                  "dll_cpu_version", "__vlang_math_fp16to64", "__vlang_math_fp64to16"});
    return names;
}

TEST(Exports, AreWhatTheListAndTheHeaderName) {
    Names found;
    for (const ElfSymbol& symbol : library().dynamic) {
        if (symbol.defined()) found.insert(symbol.name);
    }
    const Names expected = all_exports();
    EXPECT_EQ(1920U + 528 + 960 + 18 + 10 + 6 + streams().size() + scalars().size() + statistics().size() +
                  primitives().size() + fitting().size(),
              expected.size());
#ifndef NVO_SANITIZED // a sanitizer exports names of its own
    EXPECT_EQ(Names{}, without(found, expected)) << "exported, but not in the list";
#endif
    EXPECT_EQ(Names{}, without(expected, found)) << "in the list, but not exported";
}

Names pending_kernels() {
    Names names;
    for (const ElfSymbol& symbol : library().dynamic) {
        if (symbol.defined() && symbol.weak() && symbol.name.starts_with("nvo_ark_kernel_")) names.insert(symbol.name);
    }
    return names;
}

TEST(Exports, RowsWithoutKernelStopTheProgramAndNameThemselves) {
    const Names pending = pending_kernels();
    std::printf("%zu of 528 kernels are pending\n", pending.size());
    EXPECT_EQ(Names{}, without(pending, kernels())) << "weak, but no kernel";
    if (pending.empty()) return;
    const std::string& name = *pending.begin();
    const auto kernel = reinterpret_cast<void (*)()>(dlsym(RTLD_DEFAULT, name.c_str()));
    ASSERT_NE(nullptr, kernel);
    EXPECT_DEATH(kernel(), name + " is not written yet");
}

#ifndef NVO_SANITIZED

// Everything that a newly linked name could bring in is seen here first.
TEST(Exports, ImportsAreTheCoreServicesAndAFewOfTheSystem) {
    Names found;
    for (const ElfSymbol& symbol : library().dynamic) {
        if (!symbol.defined() && !symbol.weak()) found.insert(symbol.name);
    }
    const Names expected = {"nvo_serv_getenv",
                            "nvo_serv_lock",
                            "nvo_serv_unlock",
                            "nvo_serv_print",
                            "nvo_serv_allocate",
                            "nvo_serv_deallocate",
                            "nvo_serv_memcpy_s",
                            "nvo_serv_cpuisqrx",
                            "fopen",
                            "fread",
                            "fwrite",
                            "fclose",
                            "__errno_location",
                            "__tls_get_addr",
                            "abort",
                            "fprintf",
                            "stderr",
                            "ilogb",
                            "memcmp",
                            "memcpy",
                            "memmove",
                            "memset",
                            "nvo_blas_xdgemm",
                            "nvo_blas_xdsyr",
                            "nvo_blas_xdsyrk",
                            "nvo_blas_xsgemm",
                            "nvo_blas_xssyr",
                            "nvo_blas_xssyrk",
                            "nvo_serv_load_thread_fun"};
    EXPECT_EQ(Names{}, without(found, expected));
}

TEST(Exports, NoConstructorAndNoWritableDataButTheTables) {
    for (const auto& section : library().sections) {
        // One pointer: the C runtime's own frame_dummy.
        if (section.name == ".init_array") {
            EXPECT_EQ(sizeof(void*), section.size);
        }
        EXPECT_NE(".ctors", section.name);
    }
    ASSERT_FALSE(library().all.empty()) << "stripped: nothing can be told";
    Names writable;
    for (const ElfSymbol& symbol : library().all) {
        if (symbol.type != STT_OBJECT && symbol.type != STT_TLS) continue;
        if (symbol.section >= static_cast<int>(library().sections.size())) continue;
        const auto& section = library().sections[symbol.section];
        if (!section.writable() || section.name == ".data.rel.ro") continue; // read-only once it is relocated
        const bool is_table = symbol.name.starts_with("nvo_ark_kernel_") && symbol.name.ends_with("_ttab");
        if (!is_table) writable.insert(symbol.name);
    }
    const Names runtime = {"completed.0",
                           "__dso_handle",
                           "_DYNAMIC",
                           "_GLOBAL_OFFSET_TABLE_",
                           "__TMC_END__",
                           "__do_global_dtors_aux_fini_array_entry",
                           "__frame_dummy_init_array_entry"};
    const Names ours = without(writable, runtime);
    const Names stream_layer = {"__RegBrngsNew",    "NRegBrngsNew",          "NumOffsets",
                                "_GlobRODataTable", "_GlobRODataTableCount", "_OST_GLOB_RO_DATA_TABLE_LOCKER_1"};
    for (const std::string& name : without(ours, stream_layer)) {
        const bool expected = name.ends_with("FunctionAddress") || // of the adapters of solvers, one each
                              name.find("env_read_lock") != std::string::npos ||
                              name.find("thread_state") != std::string::npos ||
                              name.find("processor_features") != std::string::npos;
        EXPECT_TRUE(expected) << name;
    }
    EXPECT_EQ(3U + 6 + stream_layer.size(), ours.size());
}

#endif

} // namespace
