// The matrices of a rotation, by the recursion of Ivanic and Ruedenberg: a row of degree l is a sum
// of up to three terms, each a factor that depends on the row, times products of entries of degree
// 1 and l - 1, times a factor that depends on the column. Everything is Q56.
#include "field/order.hpp"
#include "kernel/saturate.hpp"

namespace earshot {
namespace {

constexpr int fraction = 56;
constexpr s64 one = s64{1} << fraction;

// Of magnitudes below 8, two units too low at most.
constexpr s64 times(s64 a, s64 b) {
    constexpr int half = fraction / 2;
    constexpr s64 mask = (s64{1} << half) - 1;
    const s64 a_high = a >> half, b_high = b >> half;
    return a_high * b_high + ((a_high * (b & mask) + (a & mask) * b_high) >> half);
}

// --- The turn itself ----------------------------------------------------------------------------

// 1 / x for x from 1/4 to 4, within 2^-53 of it: a quotient of 28 bits and a step of Newton's.
s64 reciprocal(s64 x) {
    const s64 near = ((s64{1} << 62) / (x >> 26)) << 24;
    return near + times(near, one - times(x, near));
}

// The shift that brings the largest component up to 31 bits and a sign.
int room_of(const s32 *quaternion) {
    u32 bits = 0;
    for (int i = 0; i < 4; ++i) bits |= magnitude(quaternion[i]);
    int room = 0;
    while (bits < 0x40000000) {
        bits <<= 1;
        ++room;
    }
    return room;
}

// Matrices have rows and columns from -degree to degree.
struct degree_matrix {
    s64 entries[size_of_degree(EARSHOT_FIELD_ORDER)][size_of_degree(EARSHOT_FIELD_ORDER)];

    s64 &at(s32 row, s32 column) {
        return entries[row + EARSHOT_FIELD_ORDER][column + EARSHOT_FIELD_ORDER];
    }
    s64 at(s32 row, s32 column) const {
        return entries[row + EARSHOT_FIELD_ORDER][column + EARSHOT_FIELD_ORDER];
    }
};

// Of a quaternion of any length: coordinates along the axes of a head that has turned by it.
// Products are Q56 for components of Q31, and the square of the length is 1/4 to 4.
void turn_matrix(const s32 *quaternion, degree_matrix &matrix) {
    const int room = room_of(quaternion);
    const auto product = [=](int i, int k) {
        return (s64{quaternion[i]} * (s64{1} << room)) * (s64{quaternion[k]} * (s64{1} << room)) >>
               6;
    };
    const s64 ww = product(0, 0), xx = product(1, 1), yy = product(2, 2), zz = product(3, 3);
    const s64 wx = product(0, 1), wy = product(0, 2), wz = product(0, 3);
    const s64 xy = product(1, 2), xz = product(1, 3), yz = product(2, 3);
    const s64 scale = reciprocal(ww + xx + yy + zz);
    // Degree 1 is y, z, x.
    enum axis { y = -1, z = 0, x = 1 };
    const auto set = [&](axis row, axis column, s64 numerator) {
        matrix.at(row, column) = times(numerator, scale);
    };
    set(x, x, ww + xx - yy - zz);
    set(x, y, 2 * (xy + wz));
    set(x, z, 2 * (xz - wy));
    set(y, x, 2 * (xy - wz));
    set(y, y, ww - xx + yy - zz);
    set(y, z, 2 * (yz + wx));
    set(z, x, 2 * (xz + wy));
    set(z, y, 2 * (yz - wx));
    set(z, z, ww - xx - yy + zz);
}

// --- The recursion ------------------------------------------------------------------------------

// sqrt(a / b), for results below 2.
constexpr s64 root(s32 a, s32 b) {
    s64 found = 0;
    for (s64 bit = one; bit != 0; bit >>= 1)
        if (times(found + bit, found + bit) <= a * one / b) found += bit;
    return found;
}

// The factors of a degree: those of a row by its |index|, all divided by the degree, and that of a
// column, times the degree.
struct recursion_factors {
    s64 u[EARSHOT_FIELD_ORDER + 1], v[EARSHOT_FIELD_ORDER + 1], w[EARSHOT_FIELD_ORDER + 1];
    s64 column[EARSHOT_FIELD_ORDER + 1];

    constexpr explicit recursion_factors(s32 l) : u(), v(), w(), column() {
        const s32 square = l * l;
        for (s32 m = 0; m <= l; ++m) {
            u[m] = root(square - m * m, square);
            v[m] = root((m == 0 ? 2 : 1) * (l + m - 1) * (l + m), 4 * square);
            if (m == 0) v[m] = -v[m];
            if (m > 0 && m < l) w[m] = -root((l - m - 1) * (l - m), 4 * square);
            column[m] = root(square, m < l ? square - m * m : 2 * l * (2 * l - 1));
        }
    }
};

constexpr recursion_factors factors_of_degree[] = {recursion_factors(2), recursion_factors(3),
                                                   recursion_factors(4)};

constexpr s64 sqrt_2 = root(2, 1);

class next_degree {
  public:
    next_degree(s32 degree, const degree_matrix &first, const degree_matrix &last)
        : l_(degree), first_(first), last_(last), factors_(factors_of_degree[degree - 2]) {}

    s64 entry(s32 m, s32 n) const {
        const s32 row = m < 0 ? -m : m;
        s64 sum = times(factors_.v[row], v_term(m, n));
        if (row < l_) sum += times(factors_.u[row], product(0, m, n));
        if (row > 0 && row < l_ - 1) sum += times(factors_.w[row], w_term(m, n));
        return times(sum, factors_.column[n < 0 ? -n : n]);
    }

  private:
    // Entries of degree 1, in the row i, times those of the degree before, in the row a.
    s64 product(s32 i, s32 a, s32 n) const {
        const s32 end = l_ - 1;
        if (n > end)
            return times(first_.at(i, 1), last_.at(a, end)) -
                   times(first_.at(i, -1), last_.at(a, -end));
        if (n < -end)
            return times(first_.at(i, 1), last_.at(a, -end)) +
                   times(first_.at(i, -1), last_.at(a, end));
        return times(first_.at(i, 0), last_.at(a, n));
    }

    s64 v_term(s32 m, s32 n) const {
        if (m == 0) return product(1, 1, n) + product(-1, -1, n);
        if (m == 1) return times(sqrt_2, product(1, 0, n));
        if (m == -1) return times(sqrt_2, product(-1, 0, n));
        return m > 0 ? product(1, m - 1, n) - product(-1, 1 - m, n)
                     : product(1, m + 1, n) + product(-1, -m - 1, n);
    }

    s64 w_term(s32 m, s32 n) const {
        return m > 0 ? product(1, m + 1, n) + product(-1, -m - 1, n)
                     : product(1, m - 1, n) - product(-1, 1 - m, n);
    }

    s32 l_;
    const degree_matrix &first_, &last_;
    const recursion_factors &factors_;
};

// --- All degrees --------------------------------------------------------------------------------

void store(s32 degree, const degree_matrix &matrix, s32 *entries) {
    constexpr int dropped = fraction - 30;
    s32 *word = entries + entries_before(degree);
    for (s32 m = -degree; m <= degree; ++m)
        for (s32 n = -degree; n <= degree; ++n)
            *word++ = static_cast<s32>((matrix.at(m, n) + (s64{1} << (dropped - 1))) >> dropped);
}

u32 rotation_of(u32 order, const s32 *quaternion, earshot_field_rotation *rotation) {
    if (quaternion == nullptr || rotation == nullptr) return EARSHOT_BAD_MEMORY;
    const auto is_zero = [=](int i) { return quaternion[i] == 0; };
    if (!is_order(order) || (is_zero(0) && is_zero(1) && is_zero(2) && is_zero(3)))
        return EARSHOT_BAD_VALUE;
    degree_matrix matrices[3] = {}; // degree 1, and in turns the others
    degree_matrix &first = matrices[0];
    turn_matrix(quaternion, first);
    *rotation = {};
    rotation->order = order;
    store(1, first, rotation->entries);
    const degree_matrix *last = &first;
    for (s32 degree = 2; degree <= static_cast<s32>(order); ++degree) {
        degree_matrix &next = matrices[1 + degree % 2];
        const next_degree recursion(degree, first, *last);
        for (s32 m = -degree; m <= degree; ++m)
            for (s32 n = -degree; n <= degree; ++n) next.at(m, n) = recursion.entry(m, n);
        store(degree, next, rotation->entries);
        last = &next;
    }
    return EARSHOT_OK;
}

} // namespace
} // namespace earshot

extern "C" {

u32 earshot_field_rotation_of(u32 order, const s32 *quaternion, earshot_field_rotation *rotation) {
    return earshot::rotation_of(order, quaternion, rotation);
}

} // extern "C"
