// What a prepared head is like, in text, in tables and in pictures.
#ifndef EARSHOT_PREPARATION_REPORT_HPP
#define EARSHOT_PREPARATION_REPORT_HPP

#include "preparation/prepare.hpp"

#include <string>
#include <vector>

namespace preparation {

struct report_file {
    std::string name;
    std::string text;
};

// A summary, tables beside those of the built-in head, and a script of gnuplot, drawing_script,
// that draws them where it finds them.
std::vector<report_file> write_report(const prepared_head &head);

extern const char *const drawing_script;

} // namespace preparation

#endif
