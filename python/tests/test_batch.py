"""Batches give the same records and files as the tool, by any number of processes, some lost."""

import json
import os
import signal
import subprocess
import threading
import time
import unittest
import warnings
from pathlib import Path

import dask
from distributed import Client, LocalCluster, WorkerPlugin

import earshot
from earshot import _batch
from support import EARSHOT, FolderTest, noise

MANY = 1000
LENGTH = 1500  # samples of a sound


class Deadly(WorkerPlugin):
    """Workers die of a line whose output is so called, as they would for want of memory."""

    def setup(self, worker):
        import os
        import signal
        from earshot import _batch
        do = _batch._do

        def do_or_die(setting, task):
            if b'"deadly.wav"' in task:
                os.kill(os.getpid(), signal.SIGKILL)
            return do(setting, task)
        _batch._do = do_or_die


def workers_of_this_process():
    """The processes that `batch` has started."""
    tasks = Path("/proc/self/task")
    children = [int(pid) for task in tasks.iterdir()
                for pid in (task / "children").read_text().split()]
    return [pid for pid in children
            if b"_serve" in Path(f"/proc/{pid}/cmdline").read_bytes()]


def cluster(workers):
    return LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                        dashboard_address=None, local_directory=os.getcwd(), silence_logs=50)


class BatchTest(FolderTest):
    def setUp(self):
        super().setUp()
        warnings.simplefilter("ignore", ResourceWarning)  # of distributed's own sockets
        os.mkdir("in")
        for name, seed in (("a", 1), ("b", 2)):
            self.write(f"in/{name}.wav", noise(LENGTH, seed))

    def manifest(self, lines):
        with open("in/lines.jsonl", "w") as file:
            file.writelines(line if isinstance(line, str) else json.dumps(line) + "\n"
                            for line in lines)
        return "in/lines.jsonl"

    def scene(self, k):
        return {"version": 1, "sources": [{"file": "ab"[k % 2] + ".wav",
                                           "position": [1 + k % 7, k % 5 - 2, k % 3]}]}

    def plain_lines(self, count):
        return [{"scene": self.scene(k), "output": f"{k:04}.wav"} for k in range(count)]

    def all_sorts(self):
        with open("in/scene.json", "w") as file:
            json.dump(self.scene(5), file)
        form = {"version": 1, "sources": [{"file": "${sound}", "direction": "${at}"}]}
        return [
            *self.plain_lines(6),
            {"scene": "scene.json", "output": "far/below.flac", "bits": 16, "gain": -7.5},
            {"template": form, "values": {"sound": "a.wav", "at": [90, 0]}, "output": "left.wav"},
            {"scene": self.scene(1), "field": 2, "output": "field.wav", "rate": 44100},
            "\n", "{\"scene\": \n",
            {"scene": self.scene(2), "output": "0001.wav"},
            {"scene": {"version": 1, "sources": [{"file": "none.wav", "position": [1, 0, 0]}]},
             "output": "none.wav"},
            {"scene": self.scene(3), "output": "../up.wav"},
            {"scene": self.scene(3), "output": "\u00fcber.wav"},
            {"scene": "none.json", "output": "nothing.wav"},
            {"scene": self.scene(4), "output": "deadline.mp3"}]

    def files(self, folder):
        """All outputs and the records; nothing else is left in a folder."""
        found = {str(path.relative_to(folder)): path.read_bytes()
                 for path in Path(folder).rglob("*") if path.is_file()}
        self.assertEqual(found.pop(".earshot-batch/journal.jsonl"), b"", folder)
        self.assertEqual([name for name in found if ".part" in name], [])
        return found

    def test_the_tool_and_any_number_of_processes_write_the_same(self):
        manifest = self.manifest(self.all_sorts())
        made = subprocess.run([EARSHOT, "batch", manifest, "-o", "tool", "--gain", "-3",
                               "--no-dither"], stderr=subprocess.PIPE)
        self.assertEqual(made.returncode, 2, made.stderr)
        expected = self.files("tool")
        self.assertIn("far/below.flac", expected)
        for jobs in (1, 2):
            heard = []
            records = earshot.batch(manifest, f"python{jobs}", jobs=jobs, gain=-3, no_dither=True,
                                    on_result=heard.append)
            self.assertEqual(self.files(f"python{jobs}"), expected, jobs)
            lines = expected["results.jsonl"].decode().splitlines()
            self.assertEqual(records, [json.loads(line) for line in lines])
            self.assertCountEqual([r["line"] for r in heard], [r["line"] for r in records])
        self.assertEqual(sum("error" in record for record in records), 5)

    def test_a_run_goes_on_where_another_was_interrupted(self):
        manifest = self.manifest(self.plain_lines(30))
        earshot.batch(manifest, "whole", jobs=1)
        count = 0

        def interrupt(record):
            nonlocal count
            count += 1
            if count == 7:
                raise KeyboardInterrupt
        with self.assertRaises(KeyboardInterrupt):
            earshot.batch(manifest, "out", jobs=2, on_result=interrupt)
        self.assertEqual(workers_of_this_process(), [])
        self.assertFalse(os.path.exists("out/results.jsonl"))
        journal = Path("out/.earshot-batch/journal.jsonl").read_text().splitlines()
        done = [json.loads(line)["output"] for line in journal]
        self.assertEqual(len(done), 7)
        self.assertEqual(list(Path("out").glob(".*.part")), [])
        before = {name: os.stat("out/" + name).st_mtime_ns for name in done}
        earshot.batch(manifest, "out", jobs=2)
        self.assertEqual({name: os.stat("out/" + name).st_mtime_ns for name in done}, before)
        self.assertEqual(self.files("out"), self.files("whole"))

    def test_lost_processes_of_this_machine(self):
        manifest = self.manifest(self.plain_lines(60))
        expected = earshot.batch(manifest, "whole", jobs=1)
        heard = []

        def kill_one(record):
            heard.append(record)
            if len(heard) == 5:
                os.kill(workers_of_this_process()[0], signal.SIGKILL)
        self.assertEqual(earshot.batch(manifest, "out", jobs=2, on_result=kill_one), expected)
        self.assertEqual(self.files("out"), self.files("whole"))

        # A line that takes long enough to be caught in the midst of it, twice.
        sources = [{"file": "a.wav", "loop": True, "position": [k + 1, 1, 0]} for k in range(64)]
        scene = {"version": 1, "duration": 600, "sources": sources}
        manifest = self.manifest([{"scene": scene, "output": "long.wav"}])
        ended = threading.Event()

        def kill_all():
            while not ended.wait(0.05):
                if list(Path("long").glob(".long.wav.*.part")):
                    for pid in workers_of_this_process():
                        os.kill(pid, signal.SIGKILL)
        killer = threading.Thread(target=kill_all)
        killer.start()
        try:
            record, = earshot.batch(manifest, "long", jobs=1)
        finally:
            ended.set()
            killer.join()
        self.assertEqual(record, {"line": 1, "output": "long.wav", "error":
                                  "two processes that rendered it ended early, the second by "
                                  "signal 9 (Killed); is there enough memory?"})
        self.assertEqual(list(self.files("long")), ["results.jsonl"])

    def test_a_thousand_scenes_by_one_by_two_and_by_a_cluster_that_loses_a_worker(self):
        manifest = self.manifest(self.plain_lines(MANY))
        for jobs in (1, 2):
            begin = time.monotonic()
            earshot.batch(manifest, f"jobs{jobs}", jobs=jobs)
            print(f"{jobs} processes: {MANY / (time.monotonic() - begin):.0f} scenes a second")
        expected = self.files("jobs1")
        self.assertEqual(len(expected), MANY + 1)
        self.assertEqual(self.files("jobs2"), expected)

        with cluster(2) as two, Client(two) as client:
            pids = client.run(os.getpid)
            victim = next(iter(pids.values()))
            heard = []

            def kill_in_mid_run(record):
                heard.append(record["line"])
                if len(heard) == 3:
                    os.kill(victim, signal.SIGKILL)
            begin = time.monotonic()
            earshot.batch(manifest, "cluster", client=client, on_result=kill_in_mid_run)
            print(f"cluster of 2, one killed: {MANY / (time.monotonic() - begin):.0f} scenes a "
                  "second")
            client.wait_for_workers(2)
            self.assertNotIn(victim, client.run(os.getpid).values())
        self.assertCountEqual(heard, range(1, MANY + 1))
        self.assertEqual(self.files("cluster"), expected)

    def test_a_line_that_kills_every_worker_is_an_error_and_harms_no_other(self):
        lines = self.plain_lines(8)
        manifest = self.manifest(lines)
        expected = earshot.batch(manifest, "whole", jobs=1)
        lines[3]["output"] = "deadly.wav"
        manifest = self.manifest(lines)
        with dask.config.set({"distributed.scheduler.allowed-failures": 1}):
            with cluster(2) as two, Client(two) as client:
                client.register_worker_plugin(Deadly())
                records = earshot.batch(manifest, "out", client=client)
        self.assertEqual(records[:3] + records[4:], expected[:3] + expected[4:])
        self.assertEqual(records[3], {"line": 4, "output": "deadly.wav", "error":
                                      "every worker that rendered it ended early; is there enough "
                                      "memory?"})

    def test_a_worker_that_is_not_as_the_caller_says_so(self):
        setting = (b"", os.fsencode(os.path.abspath("elsewhere")))
        with self.assertRaisesRegex(earshot.Error, "does not see /.*elsewhere"):
            _batch._do_there(earshot.__version__, setting, b"")
        with self.assertRaisesRegex(earshot.Error, "has earshot .* and not 0.0.0"):
            _batch._do_there("0.0.0", setting, b"")

    def test_errors(self):
        manifest = self.manifest(self.plain_lines(2))
        Path("file").touch()
        for arguments, says in (
                (("none.jsonl", "out"), "none.jsonl: No such file"),
                ((manifest, "file"), "file/.earshot-batch: Not a directory"),
                ((manifest, "out", None, 0), "jobs: 0 is below 1"),
                ((manifest, "out", object(), 1), "jobs: a client brings its own workers")):
            with self.assertRaisesRegex(earshot.Error, says):
                earshot.batch(*arguments)
        for options in {"gian": 3}, {"gain": 1000}, {"rate": 1}:
            says, = options
            with self.assertRaisesRegex(ValueError, says):
                earshot.batch(manifest, "out", **options)
        self.assertEqual(sorted(os.listdir()), ["file", "in"])

        def another(record):
            earshot.batch(manifest, "out")
        with self.assertRaisesRegex(earshot.Error, "out: another batch is at work there"):
            earshot.batch(manifest, "out", jobs=1, on_result=another)


if __name__ == "__main__":
    unittest.main(verbosity=1)
