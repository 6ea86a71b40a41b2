#include "preparation/sofa.hpp"

#include "preparation/prepare.hpp"

#include <mysofa.h>

#include <cmath>
#include <cstring>
#include <memory>

namespace preparation {
namespace {

constexpr double lowest_rate = 44100, highest_rate = 192000;
constexpr std::size_t longest = 1 << 16; // samples; far more than a head's response

[[noreturn]] void refuse(const std::string &why) { throw cannot_prepare(why); }

std::string loading_failed(int error) {
    switch (error) {
    case MYSOFA_NO_MEMORY:
        return "asks for more memory than there is: the file is damaged or too large";
    case MYSOFA_READ_ERROR:
        return "ends early: the file is damaged; fetch it again";
    case MYSOFA_UNSUPPORTED_FORMAT:
        return "is stored in a way that is not read; save it as netCDF-4, compressed by deflate or "
               "not";
    case MYSOFA_INVALID_DIMENSIONS:
    case MYSOFA_INVALID_DIMENSION_LIST:
        return "names dimensions that do not fit together: the file is damaged";
    default:
        return "not a SOFA file, or a damaged one";
    }
}

std::string text_of(MYSOFA_ATTRIBUTE *all, const char *name) {
    for (; all != nullptr; all = all->next) {
        if (all->name != nullptr && std::strcmp(all->name, name) == 0)
            return all->value != nullptr ? all->value : "";
    }
    return "";
}

void check_convention(const MYSOFA_HRTF &file) {
    const std::string convention = text_of(file.attributes, "SOFAConventions");
    if (convention.empty()) refuse("not a SOFA file: it names no convention");
    if (convention != "SimpleFreeFieldHRIR")
        refuse("is of the convention " + convention.substr(0, 60) +
               "; heads are made of SimpleFreeFieldHRIR files");
    const std::string type = text_of(file.attributes, "DataType");
    if (!type.empty() && type != "FIR")
        refuse("holds data of the type " + type.substr(0, 60) +
               "; heads are made of FIR responses");
}

// Every array as large as the dimensions say, for what follows relies on it.
void check_sizes(const MYSOFA_HRTF &file) {
    const std::size_t directions = file.M, ears = file.R, length = file.N;
    if (ears == 1) refuse("has one ear; a head needs both");
    if (ears != 2) refuse("has " + std::to_string(ears) + " receivers; a head has two ears");
    if (directions == 0 || length == 0) refuse("holds no responses");
    if (length > longest)
        refuse("has responses of " + std::to_string(length) +
               " samples, which is a room's; cut them to 65536 at most");
    const auto holds = [](const MYSOFA_ARRAY &array, std::size_t wanted) {
        return array.values != nullptr && array.elements == wanted;
    };
    if (!holds(file.DataIR, directions * ears * length))
        refuse("has not as many samples as its dimensions say: the file is damaged");
    if (!holds(file.SourcePosition, 3 * directions))
        refuse("has not a source position for each response: heads are made of measurements from "
               "many directions");
    if (file.DataSamplingRate.values == nullptr || file.DataSamplingRate.elements == 0)
        refuse("does not tell its sample rate");
    if (file.DataDelay.elements != 0 && !holds(file.DataDelay, ears) &&
        !holds(file.DataDelay, directions * ears))
        refuse("has delays (Data.Delay) of another number than its responses: the file is damaged");
}

double rate_of(const MYSOFA_HRTF &file) {
    const double rate = file.DataSamplingRate.values[0];
    for (std::size_t n = 0; n < file.DataSamplingRate.elements; ++n) {
        if (file.DataSamplingRate.values[n] != file.DataSamplingRate.values[0])
            refuse("has responses of several sample rates; convert them to one");
    }
    if (!(rate >= lowest_rate && rate <= highest_rate))
        refuse("has a sample rate of " + std::to_string(std::lround(std::clamp(rate, 0.0, 1e9))) +
               " Hz; rates from 44100 to 192000 Hz are read: convert it");
    return rate;
}

// A place of an array that holds one or one for each measurement; the default where there is none.
class places {
  public:
    places(const MYSOFA_ARRAY &array, const Eigen::Vector3d &otherwise)
        : array_(array), otherwise_(otherwise),
          spherical_(text_of(array.attributes, "Type") == "spherical") {}

    Eigen::Vector3d operator[](std::size_t n) const {
        if (array_.values == nullptr || array_.elements < 3) return otherwise_;
        const float *at = array_.values + (array_.elements >= 3 * (n + 1) ? 3 * n : 0);
        if (!std::isfinite(at[0]) || !std::isfinite(at[1]) || !std::isfinite(at[2]))
            refuse("has positions that are not numbers (NaN or infinite)");
        if (spherical_) return at[2] * vector_of({at[0], at[1]});
        return {at[0], at[1], at[2]};
    }

  private:
    const MYSOFA_ARRAY &array_;
    Eigen::Vector3d otherwise_;
    bool spherical_;
};

// Sources as the listener sees them, whose view need not be along the x axis.
void read_directions(const MYSOFA_HRTF &file, sofa_measurement &result) {
    const places sources(file.SourcePosition, {0, 0, 0}),
        listeners(file.ListenerPosition, {0, 0, 0}), views(file.ListenerView, {1, 0, 0}),
        ups(file.ListenerUp, {0, 0, 1});
    for (std::size_t m = 0; m < file.M; ++m) {
        const Eigen::Vector3d offset = sources[m] - listeners[m];
        const Eigen::Vector3d front = views[m].normalized();
        const Eigen::Vector3d left_side = ups[m].cross(front).normalized();
        const Eigen::Vector3d seen{front.dot(offset), left_side.dot(offset),
                                   front.cross(left_side).dot(offset)};
        const double distance = seen.norm();
        if (!(distance > 1e-3 && distance < 1e4))
            refuse("has a source at no sensible distance (measurement " + std::to_string(m + 1) +
                   ")");
        result.directions.push_back(seen / distance);
        result.distances.push_back(distance);
    }
}

// The receiver on the left is the left ear, whichever comes first.
bool ears_are_swapped(const MYSOFA_HRTF &file) {
    const MYSOFA_ARRAY &ears = file.ReceiverPosition;
    if (ears.values == nullptr || ears.elements < 6) return false;
    const places at(ears, {0, 0, 0});
    return at[0].y() < at[1].y();
}

void read_responses(const MYSOFA_HRTF &file, sofa_measurement &result) {
    const std::size_t swapped = ears_are_swapped(file) ? 1 : 0;
    result.length = file.N;
    result.samples.resize(file.DataIR.elements);
    const bool one_for_all = file.DataDelay.elements == 2;
    for (std::size_t m = 0; m < file.M; ++m) {
        auto &delay = result.delays.emplace_back();
        for (std::size_t ear : {left, right}) {
            const std::size_t from = ear ^ swapped;
            const float *source = file.DataIR.values + (2 * m + from) * result.length;
            std::copy_n(source, result.length,
                        result.samples.begin() +
                            static_cast<std::ptrdiff_t>((2 * m + ear) * result.length));
            if (file.DataDelay.elements != 0)
                delay[ear] = file.DataDelay.values[(one_for_all ? 0 : 2 * m) + from];
        }
    }
}

std::string name_of(const MYSOFA_HRTF &file) {
    std::string name;
    for (const char *part : {"DatabaseName", "ListenerShortName"}) {
        const std::string text = text_of(file.attributes, part);
        if (!text.empty()) name += (name.empty() ? "" : " ") + text;
    }
    return name.empty() ? text_of(file.attributes, "Title") : name;
}

} // namespace

sofa_measurement read_sofa(std::span<const char> bytes) {
    int error = 0;
    const std::unique_ptr<MYSOFA_HRTF, void (*)(MYSOFA_HRTF *)> file(
        mysofa_load_data(bytes.data(), bytes.size(), &error), mysofa_free);
    if (!file) refuse(loading_failed(error));
    check_convention(*file);
    check_sizes(*file);
    sofa_measurement result;
    result.name = name_of(*file);
    result.rate = rate_of(*file);
    read_directions(*file, result);
    read_responses(*file, result);
    return result;
}

} // namespace preparation
