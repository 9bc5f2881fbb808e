#include "platform/core_testing.h"
#include "tests/generators/quasi_model.h"

using namespace nvo::tests;

namespace {

using Words = std::vector<std::uint32_t>;

Words operator+(Words a, const Words& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

Words random_words(std::size_t n) {
    std::mt19937 random(static_cast<unsigned>(n));
    Words words(n);
    for (auto& word : words) word = static_cast<std::uint32_t>(random());
    return words;
}

struct Form {
    Words words;
    DirectionRows rows;
    int chunks;
};

std::vector<Form> forms() {
    std::vector<Form> forms;
    for (const std::uint32_t d : {1, 2, 7, 40, 318, 319, 350}) {
        Words polynomials = random_words(d);
        for (std::size_t i = 0; i < d; ++i) polynomials[i] = polynomials[i] >> (i % 31) | 2;
        DirectionRows rows;
        for (const std::uint32_t p : polynomials) rows.push_back(niederreiter_row(p));
        forms.push_back({Words{d, 1, 1} + polynomials, rows, d > 318 ? 1 : 0});
        const Words finished = random_words(std::size_t{32} * d);
        for (std::size_t i = 0; i < finished.size(); ++i) rows[i / 32][i % 32] = finished[i];
        forms.push_back({Words{d, 1, 4} + finished, rows, d > 318 ? 1 : 0});
    }
    forms.push_back({{3, 1, 1, 2, 1, 0}, {niederreiter_row(2), {}, {}}, 0}); // no degree
    return forms;
}

// Point 1000 of 12 dimensions as gsl_qrng_niederreiter_2 of GSL 2.7 gives it, behind the origin, times 2^31.
TEST(Niederreiter, AgreesWithAnotherLibrary) {
    const Words expected = {0x1C200000, 0x0C600000, 0x62C80000, 0x30F80000, 0x64F80000, 0x1EF08000,
                            0x02F08000, 0x35F08000, 0x0B8F0000, 0x7E8F0000, 0x6E4F0000, 0x6A6F0000};
    auto record = quasi<NiederreiterKind>(12);
    ASSERT_EQ(OST_OK, skip(record.stream(), 999 * 12));
    Words words = draw_words(record.stream(), 12);
    for (auto& word : words) word >>= 1;
    EXPECT_TRUE(same_bits(expected, words));
}

TEST(Niederreiter, StartsAsSobolDoes) {
    auto niederreiter = quasi<NiederreiterKind>(2);
    auto sobol = quasi<SobolKind>(2);
    EXPECT_TRUE(same_bits(draw_words(sobol.stream(), 10000), draw_words(niederreiter.stream(), 10000)));
}

TEST(Niederreiter, TablesHoldTheirEnds) {
    EXPECT_EQ(2U, uNiederrIrredPoly[0]);
    EXPECT_EQ(41U, uNiederrIrredPoly[9]);
    EXPECT_EQ(3037U, uNiederrIrredPoly[316]);
    EXPECT_EQ(3047U, uNiederrIrredPoly[317]);
    for (int i = 0; i < 318; ++i) EXPECT_EQ(degree(uNiederrIrredPoly[i]), iNiederrIrredPolyDeg[i]);
}

TEST(Niederreiter, TakesCallersNumbersInAllForms) {
    const long blocks = nvo_core_testing_live_blocks();
    for (const Form& form : forms()) {
        SCOPED_TRACE(testing::Message() << form.words[2] << " " << form.words[0]);
        const OwnNumbers own(OST_BRNG_NIEDERREITER, form.words);
        ASSERT_EQ(OST_OK, own.status);
        EXPECT_EQ(form.words[0], place_of(own.stream).dim);
        EXPECT_EQ(form.chunks, __ostGetNumChunks(own.stream));
        expect_quasi_numbers(own.stream, {form.rows});
    }
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
}

TEST(Niederreiter, WithoutTheLastWordTakesThePlainDimension) {
    for (Form& form : forms()) {
        SCOPED_TRACE(testing::Message() << form.words[2] << " " << form.words[0]);
        const std::uint32_t d = form.words[0];
        form.words.pop_back();
        const OwnNumbers own(OST_BRNG_NIEDERREITER, form.words);
        ASSERT_EQ(OST_OK, own.status);
        EXPECT_EQ(0, __ostGetNumChunks(own.stream));
        const DirectionRows rows = NiederreiterKind::rows(d <= 318 ? d : 1);
        EXPECT_TRUE(same_bits(QuasiModel{rows}.next(700), draw_words(own.stream, 700)));
    }
}

// One dimension of many, from the chunk.
TEST(Niederreiter, LeapfrogSelectsADimensionOfTheChunk) {
    const Form form = forms()[12];
    const OwnNumbers own(OST_BRNG_NIEDERREITER, form.words);
    ASSERT_EQ(OST_OK, leapfrog(own.stream, 333, 0x7FFFFFFF));
    QuasiModel model{{form.rows[333]}};
    EXPECT_TRUE(same_bits(model.next(500), draw_words(own.stream, 500)));
}

TEST(Niederreiter, ImagesAreCheckedForTheirChunk) {
    constexpr std::int32_t d = 400, bytes = 84292 + 24 + 132 * d;
    const OwnNumbers own(OST_BRNG_NIEDERREITER, Words{d, 1, 4} + random_words(std::size_t{32} * d));
    ASSERT_EQ(bytes, __ostGetStreamSize(own.stream));
    std::vector<unsigned char> image(bytes);
    __ostSaveStreamM(own.stream, image.data());
    constexpr int chunks_at = 12, dim_at = 24;
    for (const auto& [at, value, status] : {std::tuple{dim_at, d, OST_OK},
                                            {dim_at, 5, OST_OK},
                                            {dim_at, d + 1, OST_ERR_MEMORY_FORMAT},
                                            {chunks_at, 0, OST_ERR_MEMORY_FORMAT}}) {
        auto copy = image;
        std::memcpy(&copy[at], &value, 2);
        OstStream* stream = nullptr;
        EXPECT_EQ(status, __ostLoadStreamM(&stream, copy.data())) << at << " " << value;
        if (stream == nullptr) continue;
        draw_words(stream, 3 * d);
        __ostDeleteStream(&stream);
    }
}

TEST(Niederreiter, EveryAllocationMayFail) {
    const Words words = Words{319, 1, 4} + random_words(std::size_t{32} * 319);
    const long before = nvo_core_testing_live_blocks();
    int failures = 0;
    for (long n = 1;; ++n) {
        nvo_core_testing_fail_allocation(n);
        {
            const OwnNumbers own(OST_BRNG_NIEDERREITER, words);
            if (nvo_core_testing_fail_allocation(0) > 0) break;
            ++failures;
            EXPECT_EQ(OST_ERR_NO_MEMORY, own.status);
            if (own.stream != nullptr) {
                EXPECT_TRUE(same_bits(QuasiModel{NiederreiterKind::rows(1)}.next(100), draw_words(own.stream, 100)));
            }
        }
        EXPECT_EQ(before, nvo_core_testing_live_blocks()) << n;
    }
    EXPECT_EQ(3, failures); // record, numbers, chunk
}

} // namespace
