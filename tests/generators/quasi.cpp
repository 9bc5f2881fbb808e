// What SOBOL and NIEDERREITER have in common.

#include "tests/generators/quasi_model.h"

using namespace nvo::tests;

namespace {

template <class Kind> class Quasi : public testing::Test {
protected:
    static std::vector<std::uint32_t> dimensions() {
        std::vector<std::uint32_t> d;
        for (std::uint32_t i = 1; i <= 40; ++i) d.push_back(i);
        for (const std::uint32_t i : {47, 48, 64, 100, 101, 317, 318}) d.push_back(i);
        std::erase_if(d, [](std::uint32_t i) { return i > Kind::limit; });
        return d;
    }
};
using Kinds = testing::Types<SobolKind, NiederreiterKind>;
TYPED_TEST_SUITE(Quasi, Kinds);

TYPED_TEST(Quasi, GivesTheModelsNumbersInAnySplit) {
    for (const std::uint32_t d : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 23, 40}) {
        SCOPED_TRACE(d);
        expect_model_in_any_split(quasi<TypeParam>(d), QuasiModel{TypeParam::rows(d)}, 300);
    }
}

TYPED_TEST(Quasi, GivesTheModelsNumbersInAllDimensions) {
    for (const std::uint32_t d : this->dimensions()) {
        SCOPED_TRACE(d);
        auto record = quasi<TypeParam>(d);
        expect_quasi_numbers(record.stream(), {TypeParam::rows(d)});
    }
}

TYPED_TEST(Quasi, UnfitSeedWordsGiveOneDimension) {
    constexpr std::uint32_t limit = TypeParam::limit;
    struct Case {
        std::vector<std::uint32_t> words;
        std::uint32_t d;
    };
    const Case cases[] = {
        {{}, 1},
        {{0}, 1},
        {{0xFFFFFFFF}, 1},
        {{0x80000000, 1, 4, 0, 0}, 1},
        {{limit}, limit},
        {{limit + 1}, 1},
        {{0x7FFFFFFF}, 1},
        {{limit + 1, 1, 4, 5, 6, 7}, 1},
        {{3, 0, 4, 5}, 3},
        {{3, 2, 4, 5}, 3},
        {{3, 1, 99, 5, 5}, 3},
        {{0x7FFFFFFF, 1, 4, 5, 6}, 1},
        {{3, 1}, 3},
        {{3, 1, 4}, 3},
        {{3, 1, 4, 5, 6, 7}, 3},
        {{0x04000000, 1, 1, 5, 6}, 1},
        {{0x08000000, 1, 4, 5, 6}, 1}, // 32 d overflows
    };
    for (const Case& c : cases) {
        const OwnNumbers own(TypeParam::id, c.words);
        SCOPED_TRACE(testing::PrintToString(c.words));
        ASSERT_EQ(OST_OK, own.status);
        EXPECT_EQ(c.d, place_of(own.stream).dim);
        EXPECT_EQ(0, __ostGetNumChunks(own.stream));
        EXPECT_TRUE(same_bits(QuasiModel{TypeParam::rows(c.d)}.next(1000), draw_words(own.stream, 1000)));
    }
    OstStream* stream = nullptr;
    ASSERT_EQ(OST_OK, __ostNewStreamEx(&stream, TypeParam::id, -1, nullptr));
    EXPECT_EQ(1U, place_of(stream).dim);
    __ostDeleteStream(&stream);
}

TYPED_TEST(Quasi, StepsAsSoonAsAPointIsUsedUp) {
    auto record = quasi<TypeParam>(3);
    const auto expect = [&](std::uint32_t index, std::int32_t pending) {
        EXPECT_EQ(index, place_of(record.stream()).index);
        EXPECT_EQ(pending, place_of(record.stream()).pending);
    };
    expect(1, 0);
    draw_words(record.stream(), 5);
    expect(2, 1);
    draw_words(record.stream(), 1);
    expect(3, 0);
    draw_words(record.stream(), 1);
    expect(3, 2);
    EXPECT_EQ(OST_OK, skip(record.stream(), 1));
    expect(3, 1);
    EXPECT_EQ(OST_OK, skip(record.stream(), 1));
    expect(4, 0);
}

TYPED_TEST(Quasi, SkippingLeavesTheStateOfDrawing) {
    for (const std::uint32_t d : {1, 3, 7}) {
        for (int before = 0; before < 9; ++before) {
            for (int count = 0; count < 40; ++count) {
                auto drawn = quasi<TypeParam>(d);
                draw_words(drawn.stream(), before);
                auto skipped = drawn;
                draw_words(drawn.stream(), count);
                ASSERT_EQ(OST_OK, skip(skipped.stream(), static_cast<std::uint64_t>(count)));
                ASSERT_TRUE(drawn.same_state(skipped)) << d << " " << before << " " << count;
            }
        }
    }
}

// The last points, up to where the count of numbers would pass 2^32; a call that would, does nothing.
TYPED_TEST(Quasi, EndsAtItsPeriod) {
    const OstBrng row = properties(TypeParam::id);
    for (const std::uint32_t d : {1, 2, 3, 4, 5, 20}) {
        SCOPED_TRACE(d);
        for (const std::uint32_t left : {16U, 17U, 100U}) {
            auto record = quasi<TypeParam>(d);
            QuasiModel model{TypeParam::rows(d)};
            const std::uint64_t points = 0xFFFFFFFF - left;
            model.place = points * d;
            ASSERT_EQ(OST_OK, skip(record.stream(), points * d));
            const auto start = record;
            std::vector<std::uint32_t> untouched(left + 1, 7);
            EXPECT_EQ(OST_ERR_QUASI_PERIOD, row.i_entry(record.stream(), static_cast<int>(left), untouched.data()));
            EXPECT_EQ(std::vector<std::uint32_t>(left + 1, 7), untouched);
            EXPECT_TRUE(record.same_state(start));
            const auto n = static_cast<int>(left) - 1;
            EXPECT_TRUE(same_bits(model.next(n), draw_words(record.stream(), n)));
        }
    }
}

TYPED_TEST(Quasi, DoesNotSkipOverItsEnd) {
    for (const std::uint32_t d : {1, 3}) {
        auto record = quasi<TypeParam>(d);
        draw_words(record.stream(), 2);
        const auto start = record;
        for (const std::uint64_t count :
             {std::uint64_t{0xFFFFFFFE} * d, std::uint64_t{0x100000000} * d, ~std::uint64_t{0}})
            EXPECT_EQ(OST_ERR_NO_SKIP, skip(record.stream(), count));
        const std::uint64_t count = 1;
        EXPECT_EQ(OST_ERR_NO_SKIP, init(record.stream(), OST_METHOD_SKIP, 0, &count));
        EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &count));
        for (const int method : {4, -1}) EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), method, 1, &count));
        EXPECT_TRUE(record.same_state(start));
    }
}

constexpr std::int32_t select = 0x7FFFFFFF;

// From any place in a point on, dimension k goes on with its next number that was not output yet, and steps one point a
// number; another dimension goes on a point behind.
TYPED_TEST(Quasi, LeapfrogSelectsADimension) {
    constexpr std::uint32_t d = 6;
    const QuasiModel model{TypeParam::rows(d)};
    for (std::uint32_t before = 0; before < 4 * d; ++before) {
        for (std::uint32_t k = 0; k < d; ++k) {
            SCOPED_TRACE(testing::Message() << before << " " << k);
            auto record = quasi<TypeParam>(d);
            draw_words(record.stream(), static_cast<int>(before));
            std::uint64_t point = 1 + before / d + (before % d > k ? 1 : 0);
            std::uint32_t dimension = k;
            const auto expect = [&](int n) {
                std::vector<std::uint32_t> words;
                for (int i = 0; i < n; ++i) words.push_back(model.at(point++, dimension));
                ASSERT_TRUE(same_bits(words, draw_words(record.stream(), n)));
            };
            ASSERT_EQ(OST_OK, leapfrog(record.stream(), static_cast<int>(k), select));
            for (const int n : {1, 0, 2, 31, 3, 8}) expect(n);
            ASSERT_EQ(OST_OK, leapfrog(record.stream(), static_cast<int>(k), select));
            expect(5);
            dimension = (k + 2) % d;
            ++point;
            ASSERT_EQ(OST_OK, leapfrog(record.stream(), static_cast<int>(dimension), select));
            expect(9);
            // A skip counts in numbers of all dimensions all the same.
            ASSERT_EQ(OST_OK, skip(record.stream(), 1000 * d));
            point += 1000;
            expect(9);
        }
    }
}

TYPED_TEST(Quasi, OtherLeapfrogsAreRefused) {
    auto record = quasi<TypeParam>(4);
    const auto start = record;
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 5));
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 4, select));
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), -1, select));
    EXPECT_TRUE(record.same_state(start));
}

// At its last point a stream can't move on to select a dimension.
TYPED_TEST(Quasi, LeapfrogStaysInTheSequence) {
    constexpr std::uint32_t d = 3;
    auto record = quasi<TypeParam>(d);
    draw_words(record.stream(), 2);
    ASSERT_EQ(OST_OK, skip(record.stream(), std::uint64_t{0xFFFFFFFD} * d + 2));
    ASSERT_EQ(0xFFFFFFFF, place_of(record.stream()).index);
    const auto start = record;
    EXPECT_EQ(OST_ERR_QUASI_PERIOD, leapfrog(record.stream(), 0, select));
    EXPECT_TRUE(record.same_state(start));
    EXPECT_EQ(OST_OK, leapfrog(record.stream(), 1, select));
}

// Images whose place doesn't fit their numbers aren't loaded.
TYPED_TEST(Quasi, ImagesAreCheckedForTheirPlace) {
    OstStream* stream = nullptr;
    ASSERT_EQ(OST_OK, __ostNewStreamEx(&stream, TypeParam::id, 1, std::vector<std::uint32_t>{5}.data()));
    std::vector<unsigned char> image(__ostGetStreamSize(stream));
    __ostSaveStreamM(stream, image.data());
    __ostDeleteStream(&stream);
    constexpr int dim_at = 24, leap_at = 28, pending_at = 32;
    struct Case {
        int at;
        std::uint32_t value;
        bool is_sound;
    };
    const Case cases[] = {
        {dim_at, 0, false},
        {dim_at, TypeParam::limit, true},
        {dim_at, TypeParam::limit + 1, false},
        {dim_at, 0xFFFFFFFF, false},
        {leap_at, 4, true},
        {leap_at, 5, false},
        {leap_at, 0xFFFFFFFE, false},
        {pending_at, 4, true},
        {pending_at, 5, false},
        {pending_at, 0xFFFFFFFF, false},
    };
    for (const Case& c : cases) {
        auto copy = image;
        std::memcpy(&copy[c.at], &c.value, sizeof c.value);
        const std::int32_t status = __ostLoadStreamM(&stream, copy.data());
        EXPECT_EQ(c.is_sound ? OST_OK : OST_ERR_MEMORY_FORMAT, status) << c.at << " " << c.value;
        if (status == OST_OK) __ostDeleteStream(&stream);
    }
}

} // namespace
