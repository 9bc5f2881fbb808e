#include "platform/core_testing.h"
#include "tests/support/streams.h"

#include <functional>
#include <limits>

using namespace nvo::tests;

namespace {

// The callback has no argument of the caller's: what it does, and the calls that it saw, stand here.
struct Call {
    std::int32_t size, least, most, index;
};
std::vector<Call> calls;
std::function<std::int32_t(const Call&)> answer; // how many numbers to write
std::int32_t next_number;                        // they count up from 0
OstStream* current;

template <class T>
std::int32_t refill(OstStream* stream, std::int32_t* size, void* buffer, std::int32_t* least, std::int32_t* most,
                    std::int32_t* index) {
    EXPECT_EQ(current, stream);
    const Call call{*size, *least, *most, *index};
    calls.push_back(call);
    const std::int32_t count = answer(call);
    for (std::int32_t i = 0; i < std::min(count, call.most); ++i)
        static_cast<T*>(buffer)[(call.index + i) % call.size] = static_cast<T>(next_number++);
    *size = *least = *most = *index = -1; // whatever is written here doesn't count
    return count;
}

std::int32_t create(OstStream** stream, std::int32_t size, std::uint32_t* buffer) {
    return __ostiNewAbstractStream(stream, size, buffer, refill<std::uint32_t>);
}
std::int32_t create(OstStream** stream, std::int32_t size, double* buffer) {
    return __ostdNewAbstractStream(stream, size, buffer, refill<double>, 0.0, 1024.0);
}
std::int32_t create(OstStream** stream, std::int32_t size, float* buffer) {
    return __ostsNewAbstractStream(stream, size, buffer, refill<float>, 0.0F, 1024.0F);
}

// Words as they are; reals to twice what they are, less 1, which is exact.
template <class T> struct Source {
    std::vector<T> ring;
    OstStream* stream = nullptr;

    explicit Source(std::int32_t size) : ring(size) {
        calls.clear();
        next_number = 0;
        answer = [](const Call& call) { return call.most; };
        EXPECT_EQ(OST_OK, create(&stream, size, ring.data()));
        current = stream;
    }
    ~Source() { __ostDeleteStream(&stream); }
    Source(const Source&) = delete;
    Source& operator=(const Source&) = delete;

    static T expected(std::int32_t i) { return std::is_integral_v<T> ? static_cast<T>(i) : static_cast<T>(2 * i - 1); }
    std::int32_t draw(std::int32_t n, T* r) const {
        const OstBrng row = row_of(stream);
        if constexpr (std::is_same_v<T, double>) {
            return row.d_entry(stream, n, r, -1, 2047);
        } else if constexpr (std::is_same_v<T, float>) {
            return row.s_entry(stream, n, r, -1, 2047);
        } else {
            return row.i_entry(stream, n, r);
        }
    }
    std::vector<T> draw(std::int32_t n) const {
        return drawn<T>(n, [this](std::int32_t m, T* r) { return draw(m, r); });
    }
    std::int32_t pos() const { return field(1); }
    std::int32_t free() const { return field(2); }

private:
    std::int32_t field(int i) const {
        std::int32_t value;
        std::memcpy(&value, reinterpret_cast<const char*>(stream + 1) + 4 * i, 4);
        return value;
    }
};

template <class T> class Abstract : public testing::Test {};
using Kinds = testing::Types<std::uint32_t, double, float>;
TYPED_TEST_SUITE(Abstract, Kinds);

// Rings of all sizes, refills of all sizes, calls of all sizes: the numbers come in order, and the callback is told no
// more and no less than there is room for and need of.
TYPED_TEST(Abstract, GivesTheSourcesNumbersInOrder) {
    std::mt19937 random(1);
    for (const std::int32_t size : {1, 2, 3, 4, 7, 16, 33}) {
        for (int policy = 0; policy < 3; ++policy) {
            const Source<TypeParam> source(size);
            std::int32_t read = 0, missing = 0;
            answer = [&](const Call& call) {
                EXPECT_EQ(size, call.size);
                EXPECT_EQ(size, call.most) << "all that was there has been read";
                EXPECT_EQ(std::min(missing - (next_number - read), size), call.least);
                EXPECT_EQ(next_number % size, call.index);
                return policy == 0 ? call.most : policy == 1 ? 1 : 1 + static_cast<std::int32_t>(random() % call.most);
            };
            for (int i = 0; i < 60; ++i) {
                const auto n = static_cast<std::int32_t>(random() % 40);
                missing = n;
                std::vector<TypeParam> expected(n);
                for (std::int32_t k = 0; k < n; ++k) expected[k] = source.expected(read + k);
                ASSERT_TRUE(same_bits(expected, source.draw(n))) << size << " " << policy;
                read += n;
                ASSERT_EQ(read % size, source.pos());
                ASSERT_EQ(size - (next_number - read), source.free());
            }
        }
    }
}

TYPED_TEST(Abstract, AsksForWhatIsLacking) {
    const Source<TypeParam> source(4);
    source.draw(10);
    ASSERT_EQ(3U, calls.size());
    EXPECT_EQ(4, calls[0].least);
    EXPECT_EQ(4, calls[1].least);
    EXPECT_EQ(2, calls[2].least);
    calls.clear();
    source.draw(2); // these are there
    for (const std::int32_t n : {0, -1, INT32_MIN}) source.draw(n);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(4, source.free());
}

TYPED_TEST(Abstract, FailedRefillLeavesTheStreamAsItWas) {
    struct Case {
        std::int32_t count, status;
    };
    for (const Case c : {Case{-1, OST_ERR_ABSTRACT_COUNT},
                         {INT32_MIN, OST_ERR_ABSTRACT_COUNT},
                         {6, OST_ERR_ABSTRACT_COUNT},
                         {0, OST_ERR_ABSTRACT_EMPTY}}) {
        const Source<TypeParam> source(5);
        source.draw(2);
        calls.clear();
        answer = [&c](const Call& call) { return calls.size() == 1 ? call.most : c.count; };
        TypeParam r[20];
        EXPECT_EQ(c.status, source.draw(20, r));
        EXPECT_EQ(2U, calls.size());
        EXPECT_EQ(2, source.pos());
        EXPECT_EQ(2, source.free());
    }
}

TYPED_TEST(Abstract, CannotBeSplitNorSeeded) {
    const Source<TypeParam> source(4);
    OstStream* stream = source.stream;
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(stream, 0, 2));
    EXPECT_EQ(OST_ERR_NO_SKIP, skip(stream, 1));
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(stream, OST_METHOD_SKIP_LONG, 1, &count));
    for (const int method : {4, -1}) EXPECT_EQ(OST_ERR_METHOD, init(stream, method, 1, nullptr));
    const std::uint32_t id = __ostGetStreamStateBrng(stream);
    EXPECT_EQ(OST_ERR_BAD_BRNG, __ostNewStreamEx(&stream, id, 0, nullptr));
}

TYPED_TEST(Abstract, OtherTypesAreRefused) {
    const Source<TypeParam> source(4);
    const OstBrng row = row_of(source.stream);
    std::vector<std::int32_t> expected(3, OST_ERR_ABSTRACT_TYPE);
    expected[std::is_integral_v<TypeParam> ? 0 : std::is_same_v<TypeParam, double> ? 1 : 2] = OST_OK;
    OstStream* stream = source.stream;
    EXPECT_EQ(expected, (std::vector{row.i_entry(stream, 0, nullptr), row.d_entry(stream, 0, nullptr, 0, 1),
                                     row.s_entry(stream, 0, nullptr, 0, 1)}));
}

TYPED_TEST(Abstract, NoMemoryNoStream) {
    TypeParam ring[3];
    const long before = nvo_core_testing_live_blocks();
    auto* stream = reinterpret_cast<OstStream*>(ring);
    nvo_core_testing_fail_allocation(1);
    EXPECT_EQ(OST_ERR_NO_MEMORY, create(&stream, 3, ring));
    EXPECT_EQ(nullptr, stream);
    EXPECT_EQ(before, nvo_core_testing_live_blocks());
}

// An image that is loaded in the same process goes on with the same ring; one with a place outside it isn't loaded.
TYPED_TEST(Abstract, ImagesAreCheckedForTheirPlace) {
    const Source<TypeParam> source(4);
    source.draw(1);
    std::vector<unsigned char> image(__ostGetStreamSize(source.stream));
    constexpr int pos_at = 24, free_at = 28;
    __ostSaveStreamM(source.stream, image.data());
    OstStream* stream = nullptr;
    ASSERT_EQ(OST_OK, __ostLoadStreamM(&stream, image.data()));
    __ostDeleteStream(&stream);
    for (const int field : {pos_at, free_at}) {
        for (const std::int32_t bad : {-1, 5, INT32_MIN, INT32_MAX}) {
            auto copy = image;
            std::memcpy(&copy[field], &bad, sizeof bad);
            EXPECT_EQ(OST_ERR_MEMORY_FORMAT, __ostLoadStreamM(&stream, copy.data()));
        }
    }
}

TEST(AbstractStreams, RefuseUnfitArguments) {
    OstStream* stream = nullptr;
    std::uint32_t words[1];
    double doubles[1];
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const std::int32_t size : {0, -3})
        EXPECT_EQ(OST_ERR_ARGUMENT, __ostiNewAbstractStream(&stream, size, words, refill<std::uint32_t>));
    EXPECT_EQ(OST_ERR_ARGUMENT, __ostiNewAbstractStream(&stream, 1, nullptr, refill<std::uint32_t>));
    EXPECT_EQ(OST_ERR_ARGUMENT, __ostiNewAbstractStream(&stream, 1, words, nullptr));
    EXPECT_EQ(OST_ERR_ARGUMENT, __ostdNewAbstractStream(&stream, 1, doubles, nullptr, 0, 1));
    EXPECT_EQ(OST_ERR_ARGUMENT, __ostdNewAbstractStream(&stream, 1, doubles, refill<double>, 1, 1));
    EXPECT_EQ(OST_ERR_ARGUMENT, __ostdNewAbstractStream(&stream, 1, doubles, refill<double>, 2, 1));
    ASSERT_EQ(OST_OK, __ostdNewAbstractStream(&stream, 1, doubles, refill<double>, nan, 1));
    __ostDeleteStream(&stream);
}

TEST(AbstractStreams, WithoutABufferDrawNothing) {
    const Source<double> source(4);
    const std::int32_t size = 4;
    const double a = 0, b = 1;
    const void* fields[] = {&size, nullptr, &a, &b, reinterpret_cast<const void*>(refill<double>)};
    ASSERT_EQ(OST_OK, init(source.stream, OST_METHOD_SEED, 10, fields));
    double r = 7;
    EXPECT_EQ(OST_ERR_NULL_POINTER, source.draw(1, &r));
    EXPECT_EQ(7, r);
}

} // namespace
