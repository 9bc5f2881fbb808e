// A kernel's lanes run over variables, in blocks of as many registers as keep all sums of the block in registers while
// it walks down the observations. So each variable has its own sequence of operations, the one that the formulas name,
// whatever the layout, the neighbours and the place in memory. One copy of a loop serves arrays on any boundary: sums
// are loaded and stored once for many observations.
//
// One-pass updates: B. P. Welford, Technometrics 4 (1962), 419-420; with weights and higher orders: P. Pebay, Sandia
// Report SAND2008-6212 (2008), section 2, for one new observation of weight w:
//
//   W' = W + w      r = 1/W'      d = x - mean      q = d w r, the change of the mean
//   c2 += d^2 W w r
//   c3 += d^3 W w r (W - w) r - 3 q c2
//   c4 += d^4 W w r (W^2 - W w + w^2) r^2 + 6 q^2 c2 - 4 q c3      (c2 and c3 on the right as they were)
#include "stats/basic_kernels.h"

#include "frame/lanes.h"

#include <utility>

namespace nvo::stats {

namespace {

enum class Layout { rows, columns };

struct Variant {
    Pass pass;
    Layout layout;
    bool weighted;
    int level;
    bool cross;
};
constexpr Orders orders_of(Variant v) { return orders_of(v.pass, v.level); }
// With the means of the two-pass form.
constexpr Orders orders_read(Variant v) {
    const Orders orders = orders_of(v);
    return {v.pass == Pass::two ? orders.raw | 0b10 : orders.raw, orders.central};
}

// f(k) for each order, k a constant. Lambdas that are called in a loop over observations must be inlined, or what they
// refer to lies in memory.
#define NVO_INLINE __attribute__((always_inline))
template <unsigned orders, class F> NVO_INLINE inline void for_each_order(F f) {
    if constexpr (has_order(orders, 1)) f(std::integral_constant<int, 1>{});
    if constexpr (has_order(orders, 2)) f(std::integral_constant<int, 2>{});
    if constexpr (has_order(orders, 3)) f(std::integral_constant<int, 3>{});
    if constexpr (has_order(orders, 4)) f(std::integral_constant<int, 4>{});
}

// ---- Sums of a register of variables -------------------------------------------------------------------------------

template <class V> struct RegisterSums {
    V raw[highest_order + 1];
    V central[highest_order + 1];
};

// What an observation does to the sums of all variables, beside its value.
template <Real R> struct Step {
    R w, r;      // weight; one over the sum of weights
    R kept;      // W r: the part of a mean that stays
    R c, c3, c4; // factors of d^2, d^3, d^4
    R of_change; // w r
};

// x^k w r for a kernel with weights, x^k r for one without
template <Variant v, class V, Real R> NVO_INLINE inline V share(V x_to_k, const Step<R>& step) {
    if constexpr (v.weighted)
        return x_to_k * step.w * step.r;
    else
        return x_to_k * step.r;
}

template <Variant v, class V, Real R> NVO_INLINE inline V one_pass(RegisterSums<V>& s, V x, const Step<R>& step) {
    constexpr Orders orders = orders_of(v);
    const V d = x - s.raw[1];
    if constexpr (has_order(orders.central, 4)) {
        const V d2 = d * d, q = d * step.of_change, q3 = q * R{3};
        s.central[4] += d2 * d2 * step.c4 + q * (q3 * R{2} * s.central[2] - R{4} * s.central[3]);
        s.central[3] += d2 * d * step.c3 - q3 * s.central[2];
    }
    if constexpr (has_order(orders.central, 2)) s.central[2] += d * d * step.c;
    V x_to_k = x;
    for_each_order<orders.raw>([&](auto k) NVO_INLINE {
        if constexpr (k > 1) x_to_k *= x;
        s.raw[k] = s.raw[k] * step.kept + share<v>(x_to_k, step);
    });
    return d;
}

template <Variant v, class V, Real R> NVO_INLINE inline void fast(RegisterSums<V>& s, V x, R w) {
    V term = x;
    if constexpr (v.weighted) term *= w;
    for_each_order<orders_of(v).raw>([&](auto k) NVO_INLINE {
        if constexpr (k > 1) term *= x;
        s.raw[k] += term;
    });
}

template <Variant v, class V, Real R> NVO_INLINE inline void two_pass(RegisterSums<V>& s, V x, R w) {
    const auto add = [w](V& sum, V power) NVO_INLINE { sum += v.weighted ? w * power : power; };
    const V d = x - s.raw[1];
    V d_to_k = d, x_to_k = x;
    for_each_order<orders_of(v).central>([&](auto k) NVO_INLINE { add(s.central[k], d_to_k *= d); });
    for_each_order<orders_of(v).raw>([&](auto k) NVO_INLINE { add(s.raw[k], x_to_k *= x); });
}

// ---- A block of variables ------------------------------------------------------------------------------------------

template <Real R> using Register = Lanes<R, lane_width<R>>;

// How many registers of variables a block may have: as many as the 16 registers hold sums of, with some to work in. A
// block of rows has a pointer for each variable.
inline constexpr int widest = 5;
template <Real R> constexpr int registers_of(Variant v) {
    const int sums = std::popcount(orders_read(v).raw) + std::popcount(orders_read(v).central);
    const int fitting = v.cross ? 2 : sums <= 2 ? widest : sums <= 4 ? 3 : 1;
    return v.layout == Layout::rows ? std::min(fitting, 8 / lane_width<R>) : fitting;
}

// The values of an observation, register by register. The last register of a block ends with the last variable, so that
// it may overlap the one before: both have the same sums in common then.
template <Real R> constexpr std::int64_t place_of_register(int k, Range variables) {
    constexpr std::int64_t width = lane_width<R>;
    return std::min(k * width, variables.size() - width);
}
template <Real R, int registers> class Columns {
public:
    Columns(const Observations<R>& data, Range block, std::int64_t ahead)
        : p_(data.p), ahead_(static_cast<std::uintptr_t>(ahead * data.p) * sizeof(R)) {
        for (int k = 0; k < registers; ++k) x_[k] = data.x + block.first + place_of_register<R>(k, block);
    }
    template <int k> Register<R> at(std::int64_t i) const {
        const R* x = x_[k] + i * p_;
        if constexpr (k == 0 || (k == registers - 1 && k > 2))
            // NOLINTNEXTLINE(performance-no-int-to-ptr): an address behind the data is no sum of pointers
            __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(x) + ahead_), 0, 2);
        return load<Register<R>>(x);
    }

private:
    const R* x_[registers];
    std::int64_t p_;
    std::uintptr_t ahead_; // in bytes
};
template <Real R, int registers> class Rows {
public:
    Rows(const Observations<R>& data, Range block, std::int64_t) {
        for (int k = 0; k < registers; ++k)
            for (int j = 0; j < width; ++j)
                x_[k * width + j] = data.x + (block.first + place_of_register<R>(k, block) + j) * data.n;
    }
    template <int k> Register<R> at(std::int64_t i) const {
        return [&]<int... j>(std::integer_sequence<int, j...>) { return Register<R>{x_[k * width + j][i]...}; }
        (std::make_integer_sequence<int, width>{});
    }

private:
    static constexpr int width = lane_width<R>;
    const R* x_[registers * width];
};
// Fewer variables than lanes, up to `most`: the last one is in lanes above as well. The rest of the lanes is 0.
template <Real R, int most> class Few {
public:
    Few(const Observations<R>& data, Range variables, std::int64_t) : step_(data.rows ? 1 : data.p) {
        for (int j = 0; j < most; ++j)
            x_[j] = data.x + data.offset(0, std::min(variables.first + j, variables.end - 1));
    }
    template <int> Register<R> at(std::int64_t i) const {
        return [&]<int... j>(std::integer_sequence<int, j...>) { return Register<R>{x_[j][i * step_]...}; }
        (std::make_integer_sequence<int, most>{});
    }

private:
    const R* x_[most];
    std::int64_t step_;
};

// Between the arrays and the registers of a block, whose variables start at first(k).
template <Variant v, int registers, Real R, class First>
NVO_INLINE inline void load_sums(RegisterSums<Register<R>> (&s)[registers], const Sums<R>& sums, const First& first) {
    using V = Register<R>;
    constexpr Orders orders = orders_read(v);
    unroll<registers>([&](auto k) NVO_INLINE {
        for_each_order<orders.raw>([&](auto n) NVO_INLINE { s[k].raw[n] = load<V>(sums.raw[n] + first(k)); });
        for_each_order<orders.central>([&](auto n)
                                           NVO_INLINE { s[k].central[n] = load<V>(sums.central[n] + first(k)); });
    });
}
template <Variant v, int registers, Real R, class First>
NVO_INLINE inline void store_sums(const RegisterSums<Register<R>> (&s)[registers], const Sums<R>& sums,
                                  const First& first) {
    constexpr Orders orders = orders_of(v);
    unroll<registers>([&](auto k) NVO_INLINE {
        for_each_order<orders.raw>([&](auto n) NVO_INLINE { store(sums.raw[n] + first(k), s[k].raw[n]); });
        for_each_order<orders.central>([&](auto n) NVO_INLINE { store(sums.central[n] + first(k), s[k].central[n]); });
    });
}

// Some observations of a block's variables, which are place(k) behind its first one in register k. `step` is that of
// the first observation, `tile` its row of deviations.
template <Variant v, int registers, Real R, class Values, class Place>
NVO_INLINE inline void add_observations(RegisterSums<Register<R>> (&s)[registers], const Values& values,
                                        const Place& place, [[maybe_unused]] const R* weights, Range observations,
                                        [[maybe_unused]] const Step<R>* step, [[maybe_unused]] R* tile,
                                        [[maybe_unused]] std::int64_t stride) {
    const auto add = [&](auto k, std::int64_t i, [[maybe_unused]] R w) NVO_INLINE {
        const auto x = values.template at<k>(i);
        if constexpr (v.pass == Pass::fast) fast<v>(s[k], x, w);
        if constexpr (v.pass == Pass::two) two_pass<v>(s[k], x, w);
        if constexpr (v.pass == Pass::one) {
            const auto d = one_pass<v>(s[k], x, *step);
            if constexpr (v.cross) store(tile + place(k), d);
        }
    };
    for (std::int64_t i = observations.first; i < observations.end; ++i) {
        const R w = v.weighted ? weights[i] : R{1};
        if (v.pass == Pass::fast && v.weighted && w == 0) continue;
        unroll<registers>([&](auto k) NVO_INLINE { add(k, i, w); });
        if constexpr (v.pass == Pass::one) ++step;
        if constexpr (v.cross) tile += stride;
    }
}

// Some observations of variables, in blocks of so many registers; see add_observations().
template <Real R>
using Walk = void(const Observations<R>& data, Range observations, Range variables, const Sums<R>& sums,
                  const Step<R>* first_step, R* tile, std::int64_t stride);

template <Real R, Variant v, int registers, class Values>
void walk(const Observations<R>& data, Range observations, Range variables, const Sums<R>& sums,
          const Step<R>* first_step, R* tile, std::int64_t stride) {
    constexpr std::int64_t width = lane_width<R>, widest_of_walk = registers * width;
    constexpr bool few = std::is_same_v<Values, Few<R, 1>> || std::is_same_v<Values, Few<R, lane_width<R> - 1>>;
    // The same place among the observations behind these, where there are several blocks. A block alone reads all that
    // lies in memory, which the processor foresees by itself.
    const std::int64_t ahead = variables.size() > widest_of_walk ? observations.size() : 0;
    for (Range block = variables; block.first < variables.end; block.first += widest_of_walk, tile += widest_of_walk) {
        block.end = std::min(block.first + widest_of_walk, variables.end);
        const Values values(data, block, ahead);
        const auto place = [=](int k) NVO_INLINE { return few ? 0 : place_of_register<R>(k, block); };
        const auto first = [=](int k) NVO_INLINE { return few ? 0 : block.first + place(k); };
        RegisterSums<Register<R>> s[registers];
        load_sums<v>(s, sums, first);
        add_observations<v>(s, values, place, data.w, observations, first_step, tile, stride);
        store_sums<v>(s, sums, first);
    }
}

// Sums of fewer variables than a register has lanes.
template <Real R> class SumsOfFew {
public:
    explicit SumsOfFew(const Sums<R>& sums, Orders orders, Range variables) {
        for_each(sums, orders,
                 [variables](R* few, const R* all) { std::copy_n(all + variables.first, variables.size(), few); });
        sums_.space = sums.space;
    }
    const Sums<R>& sums() const { return sums_; }
    void give_back(const Sums<R>& sums, Orders orders, Range variables) {
        for_each(sums, orders,
                 [variables](const R* few, R* all) { std::copy_n(few, variables.size(), all + variables.first); });
    }

private:
    template <class F> void for_each(const Sums<R>& all, Orders orders, F f) {
        for (int k = 1; k <= highest_order; ++k) {
            if (has_order(orders.raw, k)) f(sums_.raw[k] = values_[k], all.raw[k]);
            if (has_order(orders.central, k)) f(sums_.central[k] = values_[highest_order + k], all.central[k]);
        }
    }

    Sums<R> sums_{};
    R values_[2 * highest_order + 1][lane_width<R>] = {};
};

// ---- Weights -------------------------------------------------------------------------------------------------------

template <Real R> void add_weights(Weights<R>& weights, const R* w, Range observations) {
    for (std::int64_t i = observations.first; i < observations.end; ++i) {
        weights.sum += w[i];
        weights.squares += w[i] * w[i];
    }
}

// The same for the one-pass form, with what it does to the sums of the variables.
template <Real R> void take_steps(Step<R>* steps, Weights<R>& weights, const R* weight, Range observations) {
    R sum = weights.sum, squares = weights.squares;
    for (std::int64_t i = observations.first; i < observations.end; ++i, ++steps) {
        const R w = weight ? weight[i] : R{1}, next = sum + w, r = 1 / next, kept = sum * r, c = kept * w;
        *steps = {.w = w,
                  .r = r,
                  .kept = kept,
                  .c = c,
                  .c3 = c * (sum - w) * r,
                  .c4 = c * (sum * sum - sum * w + w * w) * r * r,
                  .of_change = w * r};
        squares += w * w;
        sum = next;
    }
    weights = {sum, squares};
}

// ---- Cross-products ------------------------------------------------------------------------------------------------

// cross(a, b) += (c d_a) d_b over a tile, one observation after the other in each element.
template <Real R>
void add_products(R* cross, std::int64_t p, Range variables, const R* deviations, R* scaled, std::int64_t stride,
                  const Step<R>* steps, std::int64_t observations) {
    using V = Register<R>;
    constexpr int registers = 4;
    constexpr std::int64_t width = lane_width<R>, lanes = registers * width;
    static_assert(lanes <= widest_block);
    const std::int64_t count = variables.size();
    for (std::int64_t i = 0; i < observations; ++i)
        for (std::int64_t a = 0; a < count; ++a) scaled[i * stride + a] = steps[i].c * deviations[i * stride + a];
    for (std::int64_t b = 0; b < count; ++b) {
        R* column = cross + (variables.first + b) * p + variables.first;
        for (std::int64_t a = 0; a <= b; a += lanes) {
            V s[registers];
            const std::int64_t rest = std::min(b + 1 - a, lanes);
            R local[lanes] = {};
            std::copy_n(column + a, rest, local);
            unroll<registers>([&](auto k) NVO_INLINE { s[k] = load<V>(local + k * width); });
            const R* d_a = scaled + a;
            const R* d_b = deviations + b;
            for (std::int64_t i = 0; i < observations; ++i, d_a += stride, d_b += stride)
                unroll<registers>([&](auto k) NVO_INLINE { s[k] += load<V>(d_a + k * width) * *d_b; });
            unroll<registers>([&](auto k) NVO_INLINE { store(local + k * width, s[k]); });
            std::copy_n(local, rest, column + a);
        }
    }
}

// ---- Kernels -------------------------------------------------------------------------------------------------------

// A variant at run time, with its walks: of a single variable, of fewer than lanes, of blocks by their registers.
template <Real R> struct Walks {
    Variant v;
    int registers;
    Walk<R>*single, *few, *of[widest + 1];
};

// How many observations all variables see before the next ones come: in columns, where there are several blocks, as
// many as fit into a part of the second-level cache.
template <Real R> std::int64_t tile_of(const Walks<R>& walks, Range variables) {
    constexpr std::int64_t whole = std::int64_t{1} << 62, cache_bytes = 0x18000, fewest = 32, most = 128;
    const std::int64_t tile = walks.v.pass == Pass::one ? observations_a_tile : whole;
    if (walks.v.layout == Layout::rows || variables.size() <= walks.registers * lane_width<R>) return tile;
    return std::clamp(cache_bytes / (variables.size() * static_cast<std::int64_t>(sizeof(R))), fewest, most);
}

// All variables over some observations, in blocks of nearly the same size: first the larger ones, then those with a
// register less.
template <Real R>
void walk_variables(const Walks<R>& walks, const Observations<R>& data, Range observations, Range variables,
                    const Sums<R>& sums, const Step<R>* steps, std::int64_t stride) {
    const std::int64_t width = lane_width<R>;
    R* tile = sums.space;
    while (variables.size() >= width) {
        const std::int64_t registers = (variables.size() + width - 1) / width;
        const std::int64_t blocks = (registers + walks.registers - 1) / walks.registers;
        const std::int64_t size = (registers + blocks - 1) / blocks, larger = registers - blocks * (size - 1);
        // A single register has none before it that it could overlap.
        const std::int64_t count = size == 1 ? variables.size() / width * width : larger * size * width;
        const Range some = {variables.first, std::min(variables.first + count, variables.end)};
        walks.of[size](data, observations, some, sums, steps, tile, stride);
        tile += some.size();
        variables.first = some.end;
    }
    if (variables.size() > 0) {
        SumsOfFew<R> few(sums, orders_read(walks.v), variables);
        (variables.size() == 1 ? walks.single : walks.few)(data, observations, variables, few.sums(), steps, tile,
                                                           stride);
        few.give_back(sums, orders_of(walks.v), variables);
    }
}

template <Real R>
void run(const Walks<R>& walks, const Observations<R>& data, Range observations, Range variables, Sums<R>& sums) {
    const Pass pass = walks.v.pass;
    if (walks.v.weighted && pass != Pass::two)
        while (observations.size() > 0 && data.w[observations.first] == 0) ++observations.first;
    if (pass != Pass::one) {
        if (walks.v.weighted) {
            add_weights(sums.weights, data.w, observations);
        } else {
            sums.weights.sum += static_cast<R>(observations.size());
            sums.weights.squares += static_cast<R>(observations.size());
        }
    }
    Step<R> steps[observations_a_tile];
    const std::int64_t stride = variables.size() + widest_block;
    const std::int64_t tile = tile_of(walks, variables);
    while (observations.size() > 0) {
        const Range some = {observations.first, observations.first + std::min(tile, observations.size())};
        if (pass == Pass::one) take_steps(steps, sums.weights, walks.v.weighted ? data.w : nullptr, some);
        walk_variables(walks, data, some, variables, sums, steps, stride);
        if (walks.v.cross)
            add_products(sums.cross, data.p, variables, sums.space, sums.space + observations_a_tile * stride, stride,
                         steps, some.size());
        observations.first = some.end;
    }
}

template <Real R, Variant v, int registers>
constexpr Walk<R>* walk_of =
    walk<R, v, registers, std::conditional_t<v.layout == Layout::rows, Rows<R, registers>, Columns<R, registers>>>;
template <Real R, Variant v, int... k> constexpr Walks<R> walks_of(std::integer_sequence<int, k...>) {
    constexpr Variant any = {v.pass, Layout::rows, v.weighted, v.level, v.cross}; // few variables have any layout
    return {v,
            sizeof...(k),
            walk<R, any, 1, Few<R, 1>>,
            walk<R, any, 1, Few<R, lane_width<R> - 1>>,
            {nullptr, walk_of<R, v, k + 1>...}};
}

template <Real R, Variant v>
void basic(const Observations<R>& data, Range observations, Range variables, Sums<R>& sums) {
    static constexpr Walks<R> walks = walks_of<R, v>(std::make_integer_sequence<int, registers_of<R>(v)>{});
    run(walks, data, observations, variables, sums);
}

// ---- Tables --------------------------------------------------------------------------------------------------------

constexpr Layout layout_of(bool columns) { return columns ? Layout::columns : Layout::rows; }
constexpr Variant one_pass_variant(std::size_t i) {
    return {Pass::one, layout_of((i & 16) != 0), (i & 8) != 0, static_cast<int>(i >> 1 & 3), (i & 1) != 0};
}
template <Pass pass> constexpr Variant variant(std::size_t i) {
    return {pass, layout_of((i & 8) != 0), (i & 4) != 0, static_cast<int>(i & 3), false};
}

template <Real R, std::size_t size> struct Table { BasicKernel<R>* at[size]; };

template <Real R, Variant variant_of(std::size_t), std::size_t... i>
constexpr Table<R, sizeof...(i)> table_of(std::index_sequence<i...>) {
    return {{basic<R, variant_of(i)>...}};
}

// By 16 (columns) + 8 (weighted) + 2 level + (cross-products).
template <Real R>
constexpr auto kernel_1pass_funcs_table = table_of<R, one_pass_variant>(std::make_index_sequence<32>{});
// By 8 (columns) + 4 (weighted) + level.
template <Real R>
constexpr auto kernel_fast_funcs_table = table_of<R, variant<Pass::fast>>(std::make_index_sequence<16>{});
template <Real R>
constexpr auto kernel_2pass_funcs_table = table_of<R, variant<Pass::two>>(std::make_index_sequence<16>{});

} // namespace

template <Real R> BasicKernel<R>* basic_kernel(Pass pass, bool columns, bool weighted, int level, bool cross) {
    if (pass == Pass::one) return kernel_1pass_funcs_table<R>.at[16 * columns + 8 * weighted + 2 * level + cross];
    const auto& table = pass == Pass::fast ? kernel_fast_funcs_table<R> : kernel_2pass_funcs_table<R>;
    return table.at[8 * columns + 4 * weighted + level];
}
template BasicKernel<float>* basic_kernel<float>(Pass, bool, bool, int, bool);
template BasicKernel<double>* basic_kernel<double>(Pass, bool, bool, int, bool);

} // namespace nvo::stats
