#include "batch.h"

#include <nlohmann/json.hpp>

#include "commands/batch_manifest.hpp"
#include "safely.hpp"

using nlohmann::json;
using namespace earshot_tool;
using earshot_python::safely;

struct earshot_batch {
    std::vector<batch_job> jobs;
    batch_results results;
    std::vector<batch_record> records{}; // of this run
    std::string text{};                  // what was asked for last
};

namespace {

// Bytes of a manifest that are no UTF-8 stand in messages alone.
std::string line_of(const json &object) {
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

batch_setting setting_of(const earshot_batch_setting &given) {
    batch_setting setting{given.texts[0], given.texts[1], {}};
    for (u32 k = 2; k + 1 < given.count; k += 2)
        setting.options[given.texts[k]] = given.texts[k + 1];
    return setting;
}

const batch_job &job_of(const earshot_batch &batch, s64 line) {
    return batch.jobs[static_cast<std::size_t>(line)];
}

const char *kept(earshot_batch &batch, std::string text) {
    batch.text = std::move(text);
    return batch.text.c_str();
}

} // namespace

u32 earshot_batch_open(const char *manifest, const earshot_batch_setting *given,
                       earshot_batch **batch, earshot_scene_error *error) {
    return safely(error, [&] {
        const batch_setting setting = setting_of(*given);
        check_options(setting.options);
        *batch = new earshot_batch{read_manifest(manifest), batch_results(setting.directory)};
        return EARSHOT_OK;
    });
}

void earshot_batch_close(earshot_batch *batch) { delete batch; }

s64 earshot_batch_count(const earshot_batch *batch) { return static_cast<s64>(batch->jobs.size()); }

const char *earshot_batch_output(earshot_batch *batch, s64 line) {
    return job_of(*batch, line).output.c_str();
}

const char *earshot_batch_task(earshot_batch *batch, s64 line) {
    const batch_job &job = job_of(*batch, line);
    json before = json::array();
    for (const batch_record &record : batch->results.before(job.output))
        before.push_back(text_of(record));
    json task{{"line", job.line}, {"output", job.output}, {"before", before}};
    if (job.fault.empty())
        task["text"] = job.text;
    else
        task["fault"] = job.fault;
    return kept(*batch, line_of(task));
}

const char *earshot_batch_do(const earshot_batch_setting *setting, const char *text) {
    static batch_cache cache; // render_line lets one thread at a time at it
    thread_local std::string answer;
    const json task = json::parse(text);
    const batch_job job{task["line"], task.value("text", ""), task["output"],
                        task.value("fault", "")};
    std::vector<batch_record> before;
    for (const json &record : task["before"])
        if (const auto known = parse_record(record.get<std::string>())) before.push_back(*known);
    answer = text_of(render_line(setting_of(*setting), job, before, cache).record);
    return answer.c_str();
}

const char *earshot_batch_lost(earshot_batch *batch, s64 line, const char *how) {
    return kept(*batch, text_of(failed_record(job_of(*batch, line), how)));
}

u32 earshot_batch_begin(earshot_batch *batch, earshot_scene_error *error) {
    return safely(error, [&] {
        batch->results.begin_run();
        return EARSHOT_OK;
    });
}

u32 earshot_batch_add(earshot_batch *batch, const char *text, earshot_scene_error *error) {
    return safely(error, [&] {
        const auto record = parse_record(text);
        if (!record) throw processing_error("a worker has answered with what is no record");
        batch->results.add(*record);
        batch->records.push_back(*record);
        return EARSHOT_OK;
    });
}

u32 earshot_batch_finish(earshot_batch *batch, earshot_scene_error *error) {
    return safely(error, [&] {
        batch->results.finish_run(batch->records);
        return EARSHOT_OK;
    });
}
