#include <earshot/earshot.hpp>

#include <cstdio>

int main() {
    earshot::effect effect;
    effect.rotate(earshot::degrees(30), earshot::degrees(0));
    try {
        effect.rotate(earshot::degrees(200), earshot::degrees(0));
    } catch (const earshot::error &fault) {
        std::printf("earshot %s: %s\n", earshot::version(), fault.what());
        return fault.code() == earshot::status::bad_value ? 0 : 1;
    }
    return 1;
}
