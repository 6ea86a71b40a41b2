#include "preparation/sofa.hpp"

#include "preparation/prepare.hpp"

#include <hdf5.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

namespace preparation {
namespace {

constexpr double lowest_rate = 44100, highest_rate = 192000;
constexpr hsize_t longest = 1 << 16;               // samples; far more than a head's response
constexpr hsize_t most_numbers = hsize_t{1} << 29; // of an array; a damaged size asks for more

[[noreturn]] void refuse(const std::string &why) { throw cannot_prepare(why); }
[[noreturn]] void refuse_damaged(const std::string &what) {
    refuse(what + ": the file is damaged; fetch it again");
}

// Anything that HDF5 hands out, closed at the end.
class handle {
  public:
    handle(hid_t id, herr_t (*close)(hid_t)) : id_(id), close_(close) {}
    ~handle() {
        if (id_ >= 0) close_(id_);
    }
    handle(const handle &) = delete;
    handle &operator=(const handle &) = delete;

    operator hid_t() const { return id_; }
    bool exists() const { return id_ >= 0; }

  private:
    hid_t id_;
    herr_t (*close_)(hid_t);
};

// The text of an attribute, empty where there is none.
std::string text_at(hid_t object, const char *name) {
    if (H5Aexists(object, name) <= 0) return "";
    const handle attribute(H5Aopen(object, name, H5P_DEFAULT), H5Aclose);
    const handle type(attribute.exists() ? H5Aget_type(attribute) : -1, H5Tclose);
    const handle space(attribute.exists() ? H5Aget_space(attribute) : -1, H5Sclose);
    if (!type.exists() || H5Tget_class(type) != H5T_STRING || !space.exists() ||
        H5Sget_simple_extent_npoints(space) != 1)
        return "";
    if (H5Tis_variable_str(type) > 0) {
        char *text = nullptr;
        const handle wanted(H5Tcopy(H5T_C_S1), H5Tclose);
        H5Tset_size(wanted, H5T_VARIABLE);
        H5Tset_cset(wanted, H5Tget_cset(type));
        if (H5Aread(attribute, wanted, &text) < 0 || text == nullptr) return "";
        std::string result = text;
        H5free_memory(text);
        return result;
    }
    constexpr std::size_t longest_text = 1 << 20;
    const std::size_t size = H5Tget_size(type);
    if (size == 0 || size > longest_text) return "";
    std::string result(size, '\0');
    if (H5Aread(attribute, type, result.data()) < 0) return "";
    return result.substr(0, result.find('\0'));
}

// Numbers of any type, with their dimensions; none where there is no such array.
template <typename Number> struct array {
    std::vector<hsize_t> size;
    std::vector<Number> values;
    std::string type; // of coordinates: spherical or cartesian

    bool is(const std::vector<hsize_t> &wanted) const { return size == wanted; }
};

template <typename Number> array<Number> read_array(hid_t file, const char *name) {
    array<Number> result;
    if (H5Lexists(file, name, H5P_DEFAULT) <= 0) return result;
    const handle data(H5Dopen2(file, name, H5P_DEFAULT), H5Dclose);
    const handle space(data.exists() ? H5Dget_space(data) : -1, H5Sclose);
    const handle type(data.exists() ? H5Dget_type(data) : -1, H5Tclose);
    const std::string what = std::string("has an array ") + name + " that cannot be read";
    if (!space.exists() || !type.exists()) refuse_damaged(what);
    const H5T_class_t kind = H5Tget_class(type);
    const int rank = H5Sget_simple_extent_ndims(space);
    if ((kind != H5T_FLOAT && kind != H5T_INTEGER) || rank < 0 || rank > 4) refuse_damaged(what);
    result.size.resize(static_cast<std::size_t>(rank));
    H5Sget_simple_extent_dims(space, result.size.data(), nullptr);
    hsize_t count = 1;
    for (hsize_t one : result.size) {
        if (one == 0 || one > most_numbers / count) refuse_damaged(what);
        count *= one;
    }
    result.values.resize(count);
    const hid_t memory = sizeof(Number) == sizeof(float) ? H5T_NATIVE_FLOAT : H5T_NATIVE_DOUBLE;
    if (H5Dread(data, memory, H5S_ALL, H5S_ALL, H5P_DEFAULT, result.values.data()) < 0)
        refuse_damaged(what);
    result.type = text_at(data, "Type");
    return result;
}

void check_convention(hid_t file) {
    const std::string convention = text_at(file, "SOFAConventions");
    if (convention.empty()) refuse("not a SOFA file: it names no convention");
    if (convention != "SimpleFreeFieldHRIR")
        refuse("is of the convention " + convention.substr(0, 60) +
               "; heads are made of SimpleFreeFieldHRIR files");
    const std::string type = text_at(file, "DataType");
    if (type != "FIR")
        refuse("holds data of the type " + type.substr(0, 60) +
               "; heads are made of FIR responses");
}

// Dimensions: directions, ears, samples.
array<float> read_samples(hid_t file) {
    array<float> samples = read_array<float>(file, "Data.IR");
    if (samples.values.empty()) refuse("holds no responses (Data.IR)");
    if (samples.size.size() != 3) refuse_damaged("has responses of no known layout");
    if (samples.size[1] == 1) refuse("has one ear; a head needs both");
    if (samples.size[1] != 2)
        refuse("has " + std::to_string(samples.size[1]) + " receivers; a head has two ears");
    if (samples.size[2] > longest)
        refuse("has responses of " + std::to_string(samples.size[2]) +
               " samples, which is a room's; cut them to 65536 at most");
    return samples;
}

double read_rate(hid_t file) {
    const auto rates = read_array<double>(file, "Data.SamplingRate");
    if (rates.values.empty()) refuse("does not tell its sample rate (Data.SamplingRate)");
    const double rate = rates.values.front();
    if (std::ranges::any_of(rates.values, [&](double other) { return other != rate; }))
        refuse("has responses of several sample rates; convert them to one");
    if (!(rate >= lowest_rate && rate <= highest_rate)) {
        const double shown = std::isfinite(rate) ? std::clamp(rate, 0.0, 1e9) : 0;
        refuse("has a sample rate of " + std::to_string(std::lround(shown)) +
               " Hz; rates from 44100 to 192000 Hz are read: convert it");
    }
    return rate;
}

// Places, as many as there are, or one for all; the default where the file has none.
class places {
  public:
    places(hid_t file, const char *name, std::size_t many, const Eigen::Vector3d &otherwise)
        : all_(read_array<double>(file, name)), otherwise_(otherwise) {
        const std::size_t count = all_.values.size();
        if (count != 0 && count != 3 && count != 3 * many)
            refuse_damaged(std::string("has not a place in ") + name + " for each response");
        for (double value : all_.values) {
            if (!std::isfinite(value))
                refuse(std::string("has places in ") + name +
                       " that are not numbers (NaN or infinite)");
        }
    }

    bool exist() const { return !all_.values.empty(); }
    Eigen::Vector3d operator[](std::size_t n) const {
        if (!exist()) return otherwise_;
        const double *at = all_.values.data() + (all_.values.size() > 3 ? 3 * n : 0);
        if (all_.type == "spherical") return at[2] * vector_of({at[0], at[1]});
        return {at[0], at[1], at[2]};
    }

  private:
    array<double> all_;
    Eigen::Vector3d otherwise_;
};

// Sources as the listener sees them, who may look anywhere.
void read_directions(hid_t file, std::size_t count, sofa_measurement &result) {
    const places sources(file, "SourcePosition", count, {0, 0, 0}),
        listeners(file, "ListenerPosition", count, {0, 0, 0}),
        views(file, "ListenerView", count, {1, 0, 0}), ups(file, "ListenerUp", count, {0, 0, 1});
    if (!sources.exist()) refuse("does not tell where its sources are (SourcePosition)");
    for (std::size_t m = 0; m < count; ++m) {
        const Eigen::Vector3d offset = sources[m] - listeners[m];
        const Eigen::Vector3d front = views[m].normalized();
        const Eigen::Vector3d left_side = ups[m].cross(front).normalized();
        const Eigen::Vector3d seen{front.dot(offset), left_side.dot(offset),
                                   front.cross(left_side).dot(offset)};
        const double distance = seen.norm();
        if (!(distance > 1e-3 && distance < 1e4))
            refuse("has a source at no sensible distance (response " + std::to_string(m + 1) + ")");
        result.directions.push_back(seen / distance);
        result.distances.push_back(distance);
    }
}

// The receiver on the left is the left ear, whichever comes first.
bool ears_are_swapped(hid_t file) {
    const places ears(file, "ReceiverPosition", 2, {0, 0, 0});
    return ears[0].y() < ears[1].y();
}

// By direction and ear.
void read_delays(hid_t file, std::size_t count, bool swapped, sofa_measurement &result) {
    const auto delays = read_array<double>(file, "Data.Delay");
    const std::size_t have = delays.values.size();
    if (have != 0 && have != 2 && have != 2 * count)
        refuse_damaged("has delays (Data.Delay) of another number than its responses");
    for (std::size_t m = 0; m < count; ++m) {
        const std::size_t at = have == 2 ? 0 : 2 * m;
        auto &delay = result.delays.emplace_back();
        if (have == 0) continue;
        for (std::size_t ear : {left, right}) delay[ear] = delays.values[at + (swapped ^ ear)];
    }
}

std::string name_of(hid_t file) {
    std::string name;
    for (const char *part : {"DatabaseName", "ListenerShortName"}) {
        const std::string text = text_at(file, part);
        if (!text.empty()) name += (name.empty() ? "" : " ") + text;
    }
    return name.empty() ? text_at(file, "Title") : name;
}

} // namespace

sofa_measurement read_sofa(std::span<const char> bytes) {
    // Neither complaints on stderr nor code from plugins.
    H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr);
    H5PLset_loading_state(0);
    const handle access(H5Pcreate(H5P_FILE_ACCESS), H5Pclose);
    constexpr std::size_t growth = 1 << 16;
    if (H5Pset_fapl_core(access, growth, false) < 0 ||
        H5Pset_file_image(access, const_cast<char *>(bytes.data()), bytes.size()) < 0)
        refuse("not a SOFA file: it is empty");
    const handle file(H5Fopen("measurement", H5F_ACC_RDONLY, access), H5Fclose);
    if (!file.exists()) refuse("not a SOFA file, or a damaged one");
    check_convention(file);

    sofa_measurement result;
    auto samples = read_samples(file);
    const std::size_t count = samples.size[0];
    result.name = name_of(file);
    result.rate = read_rate(file);
    result.length = samples.size[2];
    result.samples = std::move(samples.values);
    read_directions(file, count, result);
    const bool swapped = ears_are_swapped(file);
    read_delays(file, count, swapped, result);
    if (swapped) {
        const auto step = static_cast<std::ptrdiff_t>(result.length);
        for (auto at = result.samples.begin(); at != result.samples.end(); at += 2 * step)
            std::swap_ranges(at, at + step, at + step);
    }
    return result;
}

} // namespace preparation
