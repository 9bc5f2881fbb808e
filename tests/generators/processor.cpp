// The processor's features, and what generators do without them: their sources are compiled once more here, in a
// namespace where the processor has none.

#include "generators/counter.h"
#include "generators/generator.h"
#include "generators/outputs.h"
#include "platform/core.h"
#include "tests/support/streams.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <immintrin.h>
#include <iterator>
#include <limits>
#include <utility>
#include <wmmintrin.h>

namespace old_processor {

std::int32_t __ostCPUisAES() { return 0; }
std::int32_t __ostCPUisRDRAND() { return 0; }

namespace ars5 {
namespace nvo {
using namespace ::nvo;
bool is_sound_ARS5(const OstStream* stream);
} // namespace nvo
#include "generators/ars5.cpp"
} // namespace ars5

namespace nondeterm {
namespace nvo {
using namespace ::nvo;
bool is_sound_NONDETERM(const OstStream* stream);
} // namespace nvo
#include "generators/nondeterm.cpp"
} // namespace nondeterm

} // namespace old_processor

using namespace nvo::tests;
namespace without_aes = old_processor::ars5;
namespace without_rdrand = old_processor::nondeterm;

namespace {

TEST(Processor, AgreesWithTheKernel) {
    std::ifstream file("/proc/cpuinfo");
    const std::string info{std::istreambuf_iterator<char>(file), {}};
    const auto has = [&](const char* flag) { return info.find(flag) != info.npos ? 1 : 0; };
    EXPECT_EQ(has(" aes "), __ostCPUisAES());
    EXPECT_EQ(has(" rdrand "), __ostCPUisRDRAND());
    EXPECT_EQ(nvo_serv_cpuisqrx(), __ostCPUisVAES());
}

// Block entries and skips refuse, with nothing done; seeding works.
TEST(Processor, WithoutAes) {
    const std::vector<std::uint32_t> seed = {1, 2, 3, 4, 5};
    const auto start = seeded<72>(OST_BRNG_ARS5, seed);
    auto record = start;
    OstStream* stream = record.stream();
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_OK, without_aes::__ostBRngARS5InitStream(OST_METHOD_SEED, stream, 5, seed.data()));
    for (const int n : {0, 1, 100}) {
        EXPECT_EQ(OST_ERR_NO_AES, without_aes::__ostiBRngARS5(stream, n, nullptr));
        EXPECT_EQ(OST_ERR_NO_AES, without_aes::__ostsBRngARS5(stream, n, nullptr, 0, 1));
        EXPECT_EQ(OST_ERR_NO_AES, without_aes::__ostdBRngARS5(stream, n, nullptr, 0, 1));
    }
    EXPECT_EQ(OST_ERR_NO_AES, without_aes::__ostBRngARS5InitStream(OST_METHOD_SKIP, stream, 2, &count));
    EXPECT_EQ(OST_ERR_NO_AES, without_aes::__ostBRngARS5InitStream(OST_METHOD_SKIP_LONG, stream, 1, &count));
    EXPECT_TRUE(record.same_state(start));
}

TEST(Processor, WithoutRdrand) {
    auto record = seeded<24>(OST_BRNG_NONDETERM);
    OstStream* stream = record.stream();
    EXPECT_EQ(OST_OK, without_rdrand::__ostBRngTRNGInitStream(OST_METHOD_SEED, stream, 0, nullptr));
    for (const int n : {-1, 0, 1, 100}) {
        EXPECT_EQ(OST_ERR_NO_RDRAND, without_rdrand::__ostiBRngTRNG(stream, n, nullptr));
        EXPECT_EQ(OST_ERR_NO_RDRAND, without_rdrand::__ostsBRngTRNG(stream, n, nullptr, 0, 1));
        EXPECT_EQ(OST_ERR_NO_RDRAND, without_rdrand::__ostdBRngTRNG(stream, n, nullptr, 0, 1));
    }
}

} // namespace
