// Private, for kernel files: sorting networks, made by the compiler. Source: K. Batcher, "Sorting
// networks and their applications", 1968, the odd-even merge.
#pragma once

namespace {

constexpr int most_wires = 81; // all samples of a window of 9 x 9

// Positions of a network's values, in rising order of what they hold.
struct Wires {
    int at[most_wires];
    int count;
};

// The comparators of a network in their order: the smaller of two values goes to `low`.
struct Network {
    int low[512];
    int high[512];
    int count;
    Wires sorted;
};

constexpr Wires every_second(const Wires& wires, int first) {
    Wires some = {};
    for (int k = first; k < wires.count; k += 2)
        some.at[some.count++] = wires.at[k];
    return some;
}

constexpr void compare(Network& network, int low, int high) {
    network.low[network.count] = low;
    network.high[network.count] = high;
    ++network.count;
}

constexpr Wires merge(Network& network, const Wires& a, const Wires& b) {
    if (a.count == 0)
        return b;
    if (b.count == 0)
        return a;
    Wires merged = {};
    if (a.count == 1 && b.count == 1) {
        compare(network, a.at[0], b.at[0]);
        merged.at[0] = a.at[0];
        merged.at[1] = b.at[0];
        merged.count = 2;
        return merged;
    }
    const Wires even = merge(network, every_second(a, 0), every_second(b, 0));
    const Wires odd = merge(network, every_second(a, 1), every_second(b, 1));
    merged.at[merged.count++] = even.at[0];
    for (int k = 0; k < odd.count || k + 1 < even.count; ++k) {
        if (k < odd.count && k + 1 < even.count)
            compare(network, odd.at[k], even.at[k + 1]);
        if (k < odd.count)
            merged.at[merged.count++] = odd.at[k];
        if (k + 1 < even.count)
            merged.at[merged.count++] = even.at[k + 1];
    }
    return merged;
}

constexpr Wires wires_between(int begin, int end) {
    Wires wires = {};
    for (int k = begin; k < end; ++k)
        wires.at[wires.count++] = k;
    return wires;
}

constexpr Wires sort(Network& network, int begin, int end) {
    if (end - begin < 2)
        return wires_between(begin, end);
    const int middle = (begin + end) / 2;
    const Wires lower = sort(network, begin, middle);
    return merge(network, lower, sort(network, middle, end));
}

constexpr Network sorting_network(int count) {
    Network network = {};
    network.sorted = sort(network, 0, count);
    return network;
}

// Of two sorted lists that stand one behind the other.
constexpr Network merging_network(int first, int second) {
    Network network = {};
    network.sorted = merge(network, wires_between(0, first), wires_between(first, first + second));
    return network;
}

} // namespace
