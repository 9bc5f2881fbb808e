#include "platform/core_testing.h"
#include "tests/generators/quasi_model.h"

using namespace nvo::tests;

namespace {

using Words = std::vector<std::uint32_t>;

Words operator+(Words a, const Words& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Words range(const std::uint32_t* first, std::uint32_t n) { return {first, first + n}; }

Words random_words(std::size_t n, std::uint32_t below = 0xFFFFFFFF) {
    std::mt19937 random(static_cast<unsigned>(n));
    Words words(n);
    for (auto& word : words) word = random() % below;
    return words;
}

// Each needs its polynomials or values for dimensions 2 to d, or 1 to d in the form for all.
DirectionRows own_rows(bool first_is_own, const Words& polynomials, const Words& values, std::uint32_t s) {
    DirectionRows rows;
    if (!first_is_own) rows.push_back(sobol_first_row());
    for (std::size_t i = 0; i < polynomials.size(); ++i) {
        const auto* row = values.data() + i * s;
        rows.push_back(sobol_row(polynomials[i], {row, row + s}));
    }
    return rows;
}
DirectionRows finished_rows(const Words& words) {
    DirectionRows rows(words.size() / 32);
    for (std::size_t i = 0; i < words.size(); ++i) rows[i / 32][i % 32] = words[i];
    return rows;
}

struct Form {
    const char* name;
    Words words;
    DirectionRows rows;
    int chunks;
};

std::vector<Form> forms() {
    std::vector<Form> forms;
    Words built_in_values;
    for (const auto& row : uSobolMInit) built_in_values = built_in_values + range(row, 8);
    const Words built_in = range(uSobolIrredPoly, 39);
    Words reversed(built_in.rbegin(), built_in.rend());
    forms.push_back({"polynomials", Words{40, 1, 1} + reversed, own_rows(false, reversed, built_in_values, 8), 0});
    forms.push_back({"polynomials", {2, 1, 1, 0x1FF}, own_rows(false, {0x1FF}, built_in_values, 8), 0});
    for (const std::uint32_t s : {0, 1, 3, 8, 11}) {
        const Words values = random_words(std::size_t{39} * s, 1000);
        forms.push_back({"values", Words{40, 1, 2, s} + values, own_rows(false, built_in, values, s), 0});
    }
    forms.push_back({"values", {1, 1, 2, 0x80000000}, {sobol_first_row()}, 0});
    for (const std::uint32_t d : {1, 2, 5, 16, 41, 90}) {
        for (const std::uint32_t s : {1, 9, 32}) {
            Words polynomials = random_words(d);
            for (std::size_t i = 0; i < d; ++i) polynomials[i] = polynomials[i] >> (i % 25) | 2;
            const Words values = random_words(std::size_t{d} * s);
            forms.push_back({"for all", Words{d, 1, 11} + polynomials + Words{s} + values,
                             own_rows(true, polynomials, values, s), 2});
            const Words others(polynomials.begin() + 1, polynomials.end());
            const Words other_values(values.begin() + s, values.end());
            forms.push_back({"both", Words{d, 1, 3} + others + Words{s} + other_values,
                             own_rows(false, others, other_values, s), 2});
        }
        const Words finished = random_words(std::size_t{32} * d);
        forms.push_back({"finished", Words{d, 1, 4} + finished, finished_rows(finished), 2});
    }
    forms.push_back({"no degree", {3, 1, 3, 1, 0, 1, 1, 1}, {sobol_first_row(), {}, {}}, 2});
    return forms;
}

TEST(Sobol, FirstNumbers) {
    auto record = quasi<SobolKind>(1);
    EXPECT_TRUE(same_bits(Words{0x80000000, 0xC0000000, 0x40000000}, draw_words(record.stream(), 3)));
}

// Point 1000 of 40 dimensions as gsl_qrng_sobol of GSL 2.7 gives it, times 2^30.
TEST(Sobol, AgreesWithAnotherLibrary) {
    const Words expected = {0x0E100000, 0x06300000, 0x23100000, 0x1D500000, 0x15700000, 0x2A300000, 0x01500000,
                            0x29100000, 0x30100000, 0x14700000, 0x3BD00000, 0x0C700000, 0x21900000, 0x08900000,
                            0x17700000, 0x13100000, 0x16700000, 0x2E500000, 0x01900000, 0x22100000, 0x36B00000,
                            0x2F300000, 0x12B00000, 0x17100000, 0x37100000, 0x39D00000, 0x1BD00000, 0x25700000,
                            0x14D00000, 0x0A300000, 0x1B700000, 0x13D00000, 0x12300000, 0x2DF00000, 0x05100000,
                            0x21900000, 0x27700000, 0x23300000, 0x36500000, 0x21B00000};
    auto record = quasi<SobolKind>(40);
    ASSERT_EQ(OST_OK, skip(record.stream(), 999 * 40));
    Words words = draw_words(record.stream(), 40);
    for (auto& word : words) word >>= 2;
    EXPECT_TRUE(same_bits(expected, words));
}

// Odd initial values make triangular matrices: the first 2^k points, with the origin, take each multiple of 2^-k once.
TEST(Sobol, EachDimensionIsEvenlySpread) {
    for (const DirectionRow& row : SobolKind::rows(40)) {
        for (int k = 0; k < 32; ++k) EXPECT_EQ(std::uint64_t{0x80000000} >> k, row[k] & -row[k]);
    }
}

TEST(Sobol, TakesCallersNumbersInAllForms) {
    const long blocks = nvo_core_testing_live_blocks();
    for (const Form& form : forms()) {
        SCOPED_TRACE(testing::Message() << form.name << " " << form.words[0]);
        const OwnNumbers own(OST_BRNG_SOBOL, form.words);
        ASSERT_EQ(OST_OK, own.status);
        EXPECT_EQ(form.words[0], place_of(own.stream).dim);
        EXPECT_EQ(form.chunks, __ostGetNumChunks(own.stream));
        expect_quasi_numbers(own.stream, {form.rows});
    }
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
}

TEST(Sobol, WithoutTheLastWordTakesThePlainDimension) {
    for (Form& form : forms()) {
        SCOPED_TRACE(testing::Message() << form.name << " " << form.words[0]);
        if (form.words.size() < 5) continue;
        const std::uint32_t d = form.words[0];
        form.words.pop_back();
        const OwnNumbers own(OST_BRNG_SOBOL, form.words);
        ASSERT_EQ(OST_OK, own.status);
        EXPECT_EQ(0, __ostGetNumChunks(own.stream));
        const DirectionRows rows = SobolKind::rows(d <= 40 ? d : 1);
        EXPECT_TRUE(same_bits(QuasiModel{rows}.next(500), draw_words(own.stream, 500)));
    }
}

TEST(Sobol, FormsOfTheStateEndAtFortyDimensions) {
    const Words words = random_words(2000, 100);
    for (const std::uint32_t form : {1, 2}) {
        const OwnNumbers own(OST_BRNG_SOBOL, Words{41, 1, form, 3} + words);
        EXPECT_EQ(OST_OK, own.status);
        EXPECT_EQ(1U, place_of(own.stream).dim);
    }
}

// A stream of one dimension is left.
TEST(Sobol, RefusesPolynomialsOfTooHighADegree) {
    const OwnNumbers own(OST_BRNG_SOBOL, {3, 1, 1, 7, 0x200});
    EXPECT_EQ(OST_ERR_ARGUMENT, own.status);
    EXPECT_TRUE(same_bits(QuasiModel{SobolKind::rows(1)}.next(100), draw_words(own.stream, 100)));
}

TEST(Sobol, CopiesShareTheNumbersAndNotThePoint) {
    const Words finished = random_words(std::size_t{32} * 50);
    const OwnNumbers own(OST_BRNG_SOBOL, Words{50, 1, 4} + finished);
    OstStream* copy = nullptr;
    ASSERT_EQ(OST_OK, __ostCopyStream(&copy, own.stream));
    EXPECT_EQ(__ostSearchChunk(own.stream, 9), __ostSearchChunk(copy, 9));
    EXPECT_NE(__ostSearchChunk(own.stream, 13), __ostSearchChunk(copy, 13));
    __ostDeleteStream(&copy);
    EXPECT_TRUE(same_bits(QuasiModel{finished_rows(finished)}.next(500), draw_words(own.stream, 500)));
}

// 256 d - 128 (d mod 16) + 2048 bytes of numbers and 4 d of the point; d + 1 dimensions don't fit them.
TEST(Sobol, ImagesAreCheckedForTheirChunks) {
    constexpr std::int32_t d = 50, bytes = 11716 + 2 * 24 + (256 * d - 128 * (d % 16) + 2048) + 4 * d;
    const OwnNumbers own(OST_BRNG_SOBOL, Words{d, 1, 4} + random_words(std::size_t{32} * d));
    ASSERT_EQ(bytes, __ostGetStreamSize(own.stream));
    std::vector<unsigned char> image(bytes);
    __ostSaveStreamM(own.stream, image.data());
    OstStream* stream = nullptr;
    ASSERT_EQ(OST_OK, __ostLoadStreamM(&stream, image.data()));
    EXPECT_TRUE(same_bits(draw_words(own.stream, 500), draw_words(stream, 500)));
    __ostDeleteStream(&stream);
    const auto status_with = [&](int at, unsigned char value) {
        auto copy = image;
        copy[at] = value;
        const std::int32_t status = __ostLoadStreamM(&stream, copy.data());
        if (status == OST_OK) __ostDeleteStream(&stream);
        return status;
    };
    constexpr int chunks_at = 12, dim_at = 24;
    EXPECT_EQ(OST_OK, status_with(dim_at, d - 1));
    EXPECT_EQ(OST_ERR_MEMORY_FORMAT, status_with(dim_at, d + 1));
    EXPECT_EQ(OST_ERR_MEMORY_FORMAT, status_with(chunks_at, 1));
    EXPECT_EQ(OST_ERR_MEMORY_FORMAT, status_with(chunks_at, 0));
}

TEST(Sobol, EveryAllocationMayFail) {
    const Words words = Words{45, 1, 4} + random_words(std::size_t{32} * 45);
    const long before = nvo_core_testing_live_blocks();
    int failures = 0;
    for (long n = 1;; ++n) {
        nvo_core_testing_fail_allocation(n);
        {
            const OwnNumbers own(OST_BRNG_SOBOL, words);
            if (nvo_core_testing_fail_allocation(0) > 0) break;
            ++failures;
            EXPECT_EQ(OST_ERR_NO_MEMORY, own.status);
            if (own.stream != nullptr) {
                EXPECT_TRUE(same_bits(QuasiModel{SobolKind::rows(1)}.next(100), draw_words(own.stream, 100)));
            }
        }
        EXPECT_EQ(before, nvo_core_testing_live_blocks()) << n;
    }
    EXPECT_EQ(5, failures); // record, numbers, point, two chunks
    EXPECT_EQ(before, nvo_core_testing_live_blocks());
}

} // namespace
