// What the library makes of a head's file:
//     head_reference HEAD
// Says what the head is in a line: directions, filled ones, channels, name. Then, for each line
// "AZIMUTH ELEVATION" (degrees, Q16) or "channel NUMBER" of standard input, the 512 words of the
// two ears' filters.
#include <earshot/head.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char **argv) {
    if (argc != 2) return 1;
    std::ifstream file(argv[1], std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    std::vector<u32> words((bytes.size() + 3) / 4);
    std::memcpy(words.data(), bytes.data(), bytes.size());
    const earshot_head *head = nullptr;
    earshot_head_info info;
    if (earshot_head_open(words.data(), bytes.size(), &head) != EARSHOT_OK ||
        earshot_head_describe(head, &info) != EARSHOT_OK)
        return 2;
    std::printf("%u %u %u %s\n", info.directions, info.filled, info.channels, info.name);
    std::string word;
    while (std::cin >> word) {
        earshot_filter_pair made;
        const earshot_filter_pair *pair = &made;
        u32 channel = 0;
        s32 elevation = 0;
        if (word == "channel") {
            std::cin >> channel;
            if (earshot_head_channel(head, channel, &pair) != EARSHOT_OK) return 2;
        } else {
            std::cin >> elevation;
            if (earshot_head_filter(head, std::stoi(word), elevation, &made) != EARSHOT_OK)
                return 2;
        }
        std::fwrite(pair->ear, sizeof pair->ear, 1, stdout);
    }
    return 0;
}
