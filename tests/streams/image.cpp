// Images of streams. A fixed image of each generator lies in images/: what is written today must be readable for good.
// They come from the streams that standard_stream makes; NVO_WRITE_IMAGES=1 in the environment writes them anew.

#include "nvo_ark/distributions.h"
#include "nvo_ark/generators.h"
#include "platform/core_testing.h"
#include "tests/support/toy_generator.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <unistd.h>

namespace {

using namespace nvo::tests;
using Bytes = std::vector<unsigned char>;

constexpr struct {
    const char* name;
    std::uint32_t id;
} generators[] = {
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) \
    {#NAME, OST_BRNG_##NAME + (sets) / 2},
#include "nvo_ark/generators.def"
};

bool is_abstract(std::uint32_t id) {
    return id == OST_BRNG_IABSTRACT || id == OST_BRNG_DABSTRACT || id == OST_BRNG_SABSTRACT;
}

class Owner { // of a stream
public:
    OstStream* stream = nullptr;
    Owner() = default;
    Owner(Owner&& other) noexcept : stream(std::exchange(other.stream, nullptr)) {}
    ~Owner() {
        if (stream != nullptr) __ostDeleteStream(&stream);
    }
};

std::vector<double> doubles(OstStream* stream, int n) {
    std::vector<double> r(n);
    EXPECT_EQ(OST_OK, _ostdRngUniform(0, stream, n, r.data(), 0, 1));
    return r;
}

// Seeded and drawn from, so that it stands somewhere in the middle.
Owner standard_stream(std::uint32_t id) {
    Owner owner;
    const std::uint32_t seed[] = {7, 6, 5, 4, 3, 2, 1};
    EXPECT_EQ(OST_OK, __ostNewStreamEx(&owner.stream, id, std::size(seed), seed));
    if (id != OST_BRNG_NONDETERM) doubles(owner.stream, 1001);
    return owner;
}

// SOBOL with direction numbers of its own in chunks, shared and private, for more dimensions than the state holds.
Owner stream_with_chunks() {
    constexpr std::uint32_t dimension = 50;
    std::vector<std::uint32_t> words = {dimension, 1, 4};
    std::mt19937 random(1);
    for (std::uint32_t i = 0; i < 32 * dimension; ++i) words.push_back(random());
    Owner owner;
    EXPECT_EQ(OST_OK,
              __ostNewStreamEx(&owner.stream, OST_BRNG_SOBOL, static_cast<std::int32_t>(words.size()), words.data()));
    EXPECT_EQ(2, __ostGetNumChunks(owner.stream));
    doubles(owner.stream, 77);
    return owner;
}

Bytes image_of(const OstStream* stream) {
    Bytes image(__ostGetStreamSize(stream));
    EXPECT_EQ(OST_OK, __ostSaveStreamM(stream, image.data()));
    return image;
}

template <class T> T field(const Bytes& image, std::size_t offset) {
    T value;
    std::memcpy(&value, &image.at(offset), sizeof value);
    return value;
}
template <class T> void set(Bytes& image, std::size_t offset, T value) {
    std::memcpy(&image.at(offset), &value, sizeof value);
}

class Images : public testing::Test {
protected:
    void SetUp() override { before_ = nvo_core_testing_live_blocks(); }
    void TearDown() override {
        EXPECT_EQ(before_, nvo_core_testing_live_blocks());
        std::filesystem::remove(path_);
    }

    const std::string& path() const { return path_; }
    void write(const Bytes& image) const {
        std::ofstream(path_, std::ios::binary)
            .write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
    }
    static Bytes read(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    // Through a file; the pointer is not null before.
    std::int32_t load(Owner& owner, const Bytes& image) const {
        write(image);
        OstStream rubbish{};
        owner.stream = &rubbish;
        const std::int32_t status = __ostLoadStreamF(&owner.stream, path_.c_str(), -1);
        EXPECT_EQ(status != OST_OK, owner.stream == nullptr) << status;
        EXPECT_NE(&rubbish, owner.stream);
        return status;
    }
    std::int32_t load_from_memory(Owner& owner, const Bytes& image) const {
        return __ostLoadStreamM(&owner.stream, image.data());
    }

private:
    long before_ = 0;
    std::string path_ = testing::TempDir() + "stream." + std::to_string(getpid());
};

TEST_F(Images, OfEveryGeneratorAreAsTheyWere) {
    for (const auto& [name, id] : generators) {
        if (is_abstract(id)) continue; // they hold pointers
        SCOPED_TRACE(name);
        const std::string file = std::string(NVO_IMAGES) + "/" + name;
        const Owner made = standard_stream(id);
        const Bytes image = image_of(made.stream);
        if (std::getenv("NVO_WRITE_IMAGES") != nullptr) {
            std::ofstream(file, std::ios::binary)
                .write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
        }
        EXPECT_EQ(read(file), image);

        Owner loaded;
        ASSERT_EQ(OST_OK, __ostLoadStreamF(&loaded.stream, (file + "no part of it").c_str(),
                                           static_cast<std::int32_t>(file.size())));
        EXPECT_EQ(id, loaded.stream->brng);
        if (id != OST_BRNG_NONDETERM) {
            EXPECT_EQ(doubles(made.stream, 500), doubles(loaded.stream, 500));
        }
    }
}

TEST_F(Images, HaveTheirHeaderAndChunksInOrder) {
    Owner owner = stream_with_chunks();
    Bytes image(__ostGetStreamSize(owner.stream), 0xCA);
    ASSERT_EQ(OST_OK, __ostSaveStreamM(owner.stream, image.data()));
    EXPECT_EQ(0x474E5202U, field<std::uint32_t>(image, 0));
    EXPECT_EQ(20, field<std::uint16_t>(image, 4));
    EXPECT_EQ(0xCACA, field<std::uint16_t>(image, 6)); // not touched
    EXPECT_EQ(11696U, field<std::uint32_t>(image, 8));
    EXPECT_EQ(2, field<std::uint16_t>(image, 12));
    EXPECT_EQ(0xCACA, field<std::uint16_t>(image, 14));
    EXPECT_EQ(0x600000U, field<std::uint32_t>(image, 16));
    EXPECT_EQ(0, std::memcmp(owner.stream + 1, &image[20], 11696));
    std::size_t at = 20 + 11696;
    for (const OstChunk* chunk = owner.stream->chunks; chunk != nullptr; chunk = chunk->next) {
        EXPECT_EQ(chunk->id, field<std::uint32_t>(image, at));
        EXPECT_EQ(0, std::memcmp(chunk->table_id, &image[at + 4], 16));
        EXPECT_EQ(chunk->size, field<std::int32_t>(image, at + 20));
        EXPECT_EQ(0, std::memcmp(chunk->data, &image[at + 24], chunk->size));
        at += 24 + chunk->size;
    }
    EXPECT_EQ(image.size(), at);

    ASSERT_EQ(OST_OK, __ostSaveStreamF(owner.stream, path().c_str(), -1));
    Bytes file = read(path());
    for (const std::size_t reserved : {6, 7, 14, 15}) file.at(reserved) = 0xCA;
    EXPECT_EQ(image, file);

    // Chunks come back in the first order after two rounds, and blocks with a table id are shared.
    Owner once, twice, from_memory;
    ASSERT_EQ(OST_OK, load(once, image));
    EXPECT_NE(owner.stream->chunks->id, once.stream->chunks->id);
    ASSERT_EQ(OST_OK, load(twice, image_of(once.stream)));
    EXPECT_EQ(owner.stream->chunks->id, twice.stream->chunks->id);
    EXPECT_EQ(__ostSearchChunk(owner.stream, 9), __ostSearchChunk(twice.stream, 9));
    EXPECT_NE(__ostSearchChunk(owner.stream, 13), __ostSearchChunk(twice.stream, 13));
    ASSERT_EQ(OST_OK, load_from_memory(from_memory, image));
    const std::vector<double> expected = doubles(owner.stream, 1000);
    EXPECT_EQ(expected, doubles(once.stream, 1000));
    EXPECT_EQ(expected, doubles(twice.stream, 1000));
    EXPECT_EQ(expected, doubles(from_memory.stream, 1000));
}

// The image in one of the older forms.
Bytes older(const Bytes& image, std::uint32_t magic, bool with_table_ids) {
    const auto length = field<std::uint32_t>(image, 8);
    Bytes old(16);
    set(old, 0, magic);
    set(old, 6, static_cast<std::uint16_t>(length));
    set(old, 8, field<std::uint16_t>(image, 12));
    set(old, 12, field<std::uint32_t>(image, 16));
    std::size_t at = 20 + length;
    old.insert(old.end(), &image[20], image.data() + at);
    for (int i = 0; i < field<std::uint16_t>(image, 12); ++i) {
        const std::size_t end = at + 24 + field<std::uint32_t>(image, at + 20);
        old.insert(old.end(), &image[at], &image[at + 4]);
        if (with_table_ids) old.insert(old.end(), &image[at + 4], &image[at + 20]);
        old.insert(old.end(), &image[at + 20], image.data() + end);
        at = end;
    }
    return old;
}

TEST_F(Images, OfOlderFormsAreRead) {
    Owner with_chunks = stream_with_chunks(), plain = standard_stream(20); // a legacy id
    const Bytes chunks_image = image_of(with_chunks.stream), plain_image = image_of(plain.stream);
    const auto expected_chunks = doubles(with_chunks.stream, 100), expected_plain = doubles(plain.stream, 100);
    struct Form {
        std::uint32_t magic;
        bool table_ids;
        std::int32_t status, with_chunks;
    };
    constexpr Form forms[] = {
        {0x474E5201, true, OST_OK, OST_OK},
        {0x474E5200, false, OST_OK, OST_OK},
        {0x00474E52, false, OST_OK, OST_ERR_FILE_READ},
        {0x02474E52, false, OST_OK, OST_ERR_FILE_READ},
        {0x03474E52, false, OST_ERR_FILE_VERSION, OST_ERR_FILE_VERSION},
        {0xFF474E52, false, OST_ERR_FILE_VERSION, OST_ERR_FILE_VERSION},
        {0x474E5203, false, OST_ERR_FILE_VERSION, OST_ERR_FILE_VERSION},
        {0x474E52FF, false, OST_ERR_FILE_VERSION, OST_ERR_FILE_VERSION},
        {0x484E5201, true, OST_ERR_FILE_FORMAT, OST_ERR_FILE_FORMAT},
        {0, true, OST_ERR_FILE_FORMAT, OST_ERR_FILE_FORMAT},
    };
    for (const Form& form : forms) {
        SCOPED_TRACE(form.magic);
        const auto expect = [&](const Bytes& image, std::int32_t status, const std::vector<double>& numbers) {
            Owner file, memory;
            EXPECT_EQ(status, load(file, image));
            if (file.stream != nullptr) {
                EXPECT_EQ(numbers, doubles(file.stream, 100));
            }
            const bool is_header = status == OST_ERR_FILE_VERSION || status == OST_ERR_FILE_FORMAT;
            EXPECT_EQ(is_header ? OST_ERR_MEMORY_FORMAT : status, load_from_memory(memory, image));
        };
        expect(older(plain_image, form.magic, form.table_ids), form.status, expected_plain);
        expect(older(chunks_image, form.magic, form.table_ids), form.with_chunks, expected_chunks);
    }
}

TEST_F(Images, WithWrongHeadersAreRefused) {
    const Owner owner = standard_stream(OST_BRNG_MT19937);
    const Bytes good = image_of(owner.stream);
    const auto status = [&](auto change) {
        Bytes image = good;
        change(image);
        Owner loaded;
        return load(loaded, image);
    };
    EXPECT_EQ(OST_ERR_FILE_FORMAT, status([](Bytes& i) { set(i, 4, std::uint16_t{19}); }));
    EXPECT_EQ(OST_OK, status([](Bytes& i) { set(i, 4, std::uint16_t{24}); }));
    EXPECT_EQ(OST_ERR_FILE_FORMAT, status([](Bytes& i) { set(i, 8, field<std::uint32_t>(i, 8) - 1); }));
    EXPECT_EQ(OST_ERR_FILE_FORMAT, status([](Bytes& i) { set(i, 16, 0x7000000U); }));
    EXPECT_EQ(OST_ERR_FILE_FORMAT, status([](Bytes& i) { set(i, 16, 0xFFFFFFFFU); }));
    EXPECT_EQ(OST_ERR_FILE_READ, status([](Bytes& i) { set(i, 12, std::uint16_t{1}); }));
    Owner loaded;
    EXPECT_EQ(OST_ERR_FILE_OPEN, __ostLoadStreamF(&loaded.stream, path().c_str(), 0));
    EXPECT_EQ(OST_ERR_FILE_OPEN, __ostLoadStreamF(&loaded.stream, "/nonexistent/stream", -1));
    EXPECT_EQ(OST_ERR_FILE_OPEN, __ostSaveStreamF(owner.stream, "/nonexistent/stream", -1));
    const std::int32_t full = __ostSaveStreamF(owner.stream, "/dev/full", -1);
    EXPECT_TRUE(full == OST_ERR_FILE_WRITE || full == OST_ERR_FILE_CLOSE) << full;
}

TEST_F(Images, CutShortGiveAStatusAndNoStream) {
    const Owner owner = stream_with_chunks();
    const Bytes image = image_of(owner.stream);
    // Every length in and around the heads, some in the state and the data.
    std::vector<std::size_t> heads = {0, 20, 20 + 11696, image.size()};
    heads.push_back(heads[2] + 24 + owner.stream->chunks->size);
    for (std::size_t length = 0; length < image.size(); ++length) {
        const bool near_head =
            std::any_of(heads.begin(), heads.end(), [&](std::size_t h) { return length + 2 >= h && length <= h + 26; });
        if (!near_head && length % 499 != 0) continue;
        Owner loaded;
        ASSERT_EQ(OST_ERR_FILE_READ, load(loaded, Bytes(image.begin(), image.begin() + length))) << length;
    }
}

TEST_F(Images, MayClaimMoreThanTheyHold) {
    const Owner owner = stream_with_chunks();
    const Bytes image = image_of(owner.stream);
    for (const std::uint32_t length : {1U << 20, 3U << 20, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        Bytes claim = image;
        set(claim, 20 + 11696 + 20, length);
        Owner loaded;
        EXPECT_EQ(OST_ERR_FILE_READ, load(loaded, claim)) << length;
    }
    // A large block that is really there, read in pieces.
    Owner large = standard_stream(OST_BRNG_MCG59);
    constexpr std::int32_t size = 5 << 20;
    auto* data = static_cast<unsigned char*>(nvo_serv_allocate(size, 128));
    std::mt19937 random(1);
    std::generate(data, data + size, [&] { return static_cast<unsigned char>(random()); });
    ASSERT_EQ(OST_OK, __ostAddChunk(large.stream, 77, nullptr, data, size));
    Owner loaded;
    ASSERT_EQ(OST_OK, load(loaded, image_of(large.stream)));
    EXPECT_EQ(0, std::memcmp(data, __ostSearchChunk(loaded.stream, 77), size));
}

TEST_F(Images, MeetEveryFailedAllocation) {
    const Owner owner = stream_with_chunks();
    const Bytes image = image_of(owner.stream);
    const long before = nvo_core_testing_live_blocks();
    for (int n = 1;; ++n) {
        write(image);
        OstStream* stream = nullptr;
        nvo_core_testing_fail_allocation(n);
        const std::int32_t status = __ostLoadStreamF(&stream, path().c_str(), static_cast<std::int32_t>(path().size()));
        const bool all_served = nvo_core_testing_fail_allocation(0) > 0;
        EXPECT_EQ(all_served ? OST_OK : OST_ERR_NO_MEMORY, status) << n;
        if (stream != nullptr) __ostDeleteStream(&stream);
        EXPECT_EQ(before, nvo_core_testing_live_blocks()) << n;
        if (all_served) break;
    }
    nvo_core_testing_fail_allocation(1);
    EXPECT_EQ(OST_ERR_NO_MEMORY, __ostSaveStreamF(owner.stream, path().c_str(), 3));
}

// Whatever a file holds: a status, or a stream that can be used.
TEST_F(Images, CorruptedGiveAStatusOrAStream) {
    std::vector<Bytes> images;
    for (const auto& [name, id] : generators) {
        if (!is_abstract(id)) images.push_back(image_of(standard_stream(id).stream));
    }
    images.push_back(image_of(stream_with_chunks().stream));
    std::mt19937 random(1);
    const auto below = [&](std::size_t n) { return random() % n; };
    int loaded_streams = 0;
    for (int round = 0; round < 10000; ++round) {
        Bytes image = images[below(images.size())];
        // Most of the damage goes to the fields that lead somewhere: the header, the state's ends, the chunks' heads.
        for (std::size_t damage = 1 + below(4); damage > 0; --damage) {
            constexpr std::uint32_t telling[] = {0, 1, 40, 41, 318, 623, 624, 625, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
            const std::size_t places[] = {below(24), 20 + below(32), image.size() - 4 - below(40),
                                          below(image.size() - 3), std::min<std::size_t>(11716, image.size() - 4)};
            const std::size_t place = std::min(places[below(5)], image.size() - 4);
            const std::uint32_t value = below(2) == 0 ? telling[below(std::size(telling))] : random();
            if (below(2) == 0) {
                set(image, place & ~std::size_t{3}, value);
            } else {
                image[place] = static_cast<unsigned char>(value);
            }
        }
        if (below(8) == 0) image.resize(below(image.size()));
        Owner owner;
        const std::int32_t status = load(owner, image);
        ASSERT_LE(status, 0);
        if (status != OST_OK || is_abstract(owner.stream->brng)) continue;
        ++loaded_streams;
        std::vector<double> r(700);
        std::vector<std::uint32_t> words(4 * 700);
        OstStream* copy = nullptr;
        _ostdRngUniform(0, owner.stream, 5, r.data(), 0, 1);
        const std::uint64_t count = random();
        __ostSkipAheadStream(owner.stream, count % 19000);
        __ostLeapfrogStream(owner.stream, 2, 0x7FFFFFFF);
        _ostiRngUniformBits(0, owner.stream, 700, words.data());
        _ostdRngUniform(0, owner.stream, 700, r.data(), 0, 1);
        if (__ostCopyStream(&copy, owner.stream) == OST_OK) _ostiRngUniformBits(0, copy, 700, words.data());
        if (copy != nullptr) __ostDeleteStream(&copy);
    }
    EXPECT_GT(loaded_streams, 3000);
}

} // namespace
