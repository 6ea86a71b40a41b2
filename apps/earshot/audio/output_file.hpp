// Where output bytes go, and what is left of them when something fails.
//
// A regular file is written under another name beside it and renamed when it is complete: until
// then an old file of that name is intact. A failure or a signal removes the unfinished file. What
// is not a regular file (a device, a pipe, the target of a link) is written in place, and never
// replaced or removed.
#pragma once

#include <string>

namespace earshot_tool {

class output_file {
  public:
    // "-" is standard output. Throws processing_error where the file cannot be made or is one of
    // the inputs.
    explicit output_file(const std::string &path);
    ~output_file();
    output_file(const output_file &) = delete;
    output_file &operator=(const output_file &) = delete;

    int descriptor() const { return descriptor_; }
    const std::string &name() const { return name_; }
    bool can_seek() const { return can_seek_; }

    // The file is complete: closes it and gives it its name.
    void commit();

  private:
    enum class mode { standard_output, in_place, beside };

    void open_in_place();
    void open_beside();
    void inherit_permissions() const;
    void discard();

    std::string name_; // for messages
    std::string path_;
    std::string temporary_;
    mode mode_ = mode::beside;
    int descriptor_ = -1;
    bool can_seek_ = true;
    bool committed_ = false;
};

// With the folders that it is in; it may be there already. Throws processing_error.
void make_directory(const std::string &path);

// Removes what another process, which has ended in the midst of it, has left of a file.
void remove_unfinished(const std::string &path, int process);

// Makes signals that end the program remove an unfinished output file before they do, and
// turns a closed pipe and a file size limit into errors of the write.
void prepare_signals();

} // namespace earshot_tool
