"""Batches: the scenes of a manifest, rendered by several processes, on one machine or on many."""

from __future__ import annotations

import itertools
import json
import os
import queue
import re
import signal
import socket
import subprocess
import sys
import threading
import time
from contextlib import closing
from importlib import import_module
from pathlib import Path
from typing import Any, Callable, Dict, Generator, Iterator, List, Optional, Sequence, Set, Tuple, \
    Union

from ._errors import Error, RangeError, c_text
from ._open_files import files

Record = Dict[str, Any]
Setting = Tuple[bytes, ...]  # what all lines have in common, see batch.h

_PER_THREAD = 4  # tasks that a cluster has of us: one that is done, others on their way
_RETRIES = 3  # of a task that raises on a worker, as where a disk is not mounted
_HIDDEN = ".earshot-batch"


def batch(manifest: Union[str, os.PathLike[str]], folder: Union[str, os.PathLike[str]],
          client: Any = None, jobs: Optional[int] = None,
          on_result: Optional[Callable[[Record], None]] = None, **options: object) -> List[Record]:
    """Renders the scenes of a manifest into a folder, as `earshot batch MANIFEST -o FOLDER` does.

    The manifest has an object of JSON in each line; docs/batch.md tells what is in it. The folder
    gets the outputs and, at the end, `results.jsonl` with a record for each line: the same bytes
    that the tool writes, however many processes and machines took part. What is there already, and
    is what the line asks for, is not rendered again, so the same call goes on where one was
    interrupted.

    client: of `dask.distributed`; its workers do the lines. Each has to see the manifest's folder
        and the folder of the outputs, under the same absolute paths. Without a client there are
        `jobs` processes of this machine, as many as it has processors if that is None.
    on_result: is called with each record, in the order in which lines end.
    options: for all lines, which may say otherwise, by the names of the tool's options:
        gain=-3, bits=16, head="me.head", no_dither=True.

    Returns the records in the order of the lines: dictionaries with the keys line, output, job,
    digest, peak (dBFS, or None), loudness (LUFS, or None), duration (seconds), frames, channels,
    rate (Hz) and clipped, or with line, output and error. A line that fails stops no other, and is
    no exception; a manifest that cannot be read, or a folder that cannot be written to, is.
    """
    if client is not None and jobs is not None:
        raise RangeError("jobs: a client brings its own workers; leave one of them out")
    if jobs is not None and jobs < 1:
        raise RangeError(f"jobs: {jobs} is below 1")
    if client is not None:  # whose workers may stand in other folders
        manifest, folder = os.path.abspath(manifest), os.path.abspath(folder)
    records: List[Record] = []
    with _Book(manifest, folder, options) as book:
        book.begin()
        answers = (_by_processes(book, jobs or len(os.sched_getaffinity(0))) if client is None
                   else _by_cluster(book, client))
        with closing(answers):
            for answer in answers:
                book.add(answer)
                records.append(json.loads(answer))
                if on_result is not None:
                    on_result(records[-1])
        book.remove_unfinished()
        book.finish()
    return sorted(records, key=lambda record: int(record["line"]))


class _Book:
    """A manifest and what becomes of its lines, which are counted from 0."""

    def __init__(self, manifest: Union[str, os.PathLike[str]],
                 folder: Union[str, os.PathLike[str]], options: Dict[str, object]) -> None:
        path = os.fsencode(manifest)
        self.folder = os.fsdecode(folder)
        self.setting: Setting = (os.path.dirname(path), os.fsencode(folder),
                                 *_option_texts(options))
        self._ffi, self._lib = ffi, lib = files()
        self._error = ffi.new("earshot_scene_error *")
        batch_out = ffi.new("earshot_batch **")
        self._check(lib.earshot_batch_open(path, _c_setting(self.setting)[0], batch_out,
                                           self._error))
        self._batch = ffi.gc(batch_out[0], lib.earshot_batch_close)
        self.count = int(lib.earshot_batch_count(self._batch))

    def __enter__(self) -> _Book:
        return self

    def __exit__(self, *unused: object) -> None:
        self._ffi.release(self._batch)  # and so the lock on the folder

    def _check(self, status: int) -> None:
        if status == self._lib.EARSHOT_OUT_OF_MEMORY:
            raise MemoryError("batch")
        if status == self._lib.EARSHOT_BAD_VALUE:
            raise RangeError(c_text(self._error.text))
        if status != self._lib.EARSHOT_OK:
            raise Error(c_text(self._error.text))

    def task(self, line: int) -> bytes:
        return _bytes_of(self._lib.earshot_batch_task(self._batch, line))

    def lost(self, line: int, how: str) -> bytes:
        return _bytes_of(self._lib.earshot_batch_lost(self._batch, line, how.encode()))

    def begin(self) -> None:
        self._check(self._lib.earshot_batch_begin(self._batch, self._error))

    def add(self, record: bytes) -> None:
        self._check(self._lib.earshot_batch_add(self._batch, record, self._error))

    def finish(self) -> None:
        self._check(self._lib.earshot_batch_finish(self._batch, self._error))

    def remove_unfinished(self) -> None:
        """Of workers that were killed in the midst of an output: `.out.wav.PROCESS.N.part`."""
        names: Dict[Path, Set[str]] = {}
        for line in range(self.count):
            output = Path(self.folder, c_text(self._lib.earshot_batch_output(self._batch, line)))
            names.setdefault(output.parent, set()).add(output.name[:200])
        for folder, outputs in names.items():
            for left in folder.glob(".*.part"):
                parts = re.fullmatch(r"\.(.*)\.\d+\.\d+\.part", left.name)
                if parts and parts[1] in outputs:
                    left.unlink(missing_ok=True)


def _bytes_of(text: Any) -> bytes:
    found: bytes = files()[0].string(text)
    return found


def _option_texts(options: Dict[str, object]) -> Iterator[bytes]:
    for name, value in sorted(options.items()):
        yield name.replace("_", "-").encode()
        yield str(value).lower().encode() if isinstance(value, bool) else os.fsencode(str(value))


def _c_setting(setting: Setting) -> Tuple[Any, List[Any]]:
    """The record of the interface, and what has to live as long."""
    ffi, _ = files()
    texts = [ffi.new("char[]", text) for text in setting]
    array = ffi.new("char *[]", texts)
    record = ffi.new("earshot_batch_setting *", {"texts": array, "count": len(texts)})
    return record, [array, *texts]


def _do(setting: Setting, task: bytes) -> bytes:
    """The record of a task, done in this process. The interpreter's lock is free meanwhile."""
    record, alive = _c_setting(setting)
    answer = _bytes_of(files()[1].earshot_batch_do(record, task))
    del alive
    return answer


# --- Processes of this machine ---


def _serve() -> None:
    """A worker's life: tasks come in on standard input, answers go out."""
    setting = tuple(os.fsencode(text) for text in sys.argv[1:])
    for task in sys.stdin.buffer:
        sys.stdout.buffer.write(_do(setting, task.rstrip(b"\n")) + b"\n")
        sys.stdout.buffer.flush()


class _Worker:
    """A process that does tasks, and a new one where it was lost.

    It is no child of multiprocessing, which would run the caller's script once more, or inherit its
    threads. A session of its own keeps an interruption of the terminal from it: it ends with its
    standard input.
    """

    def __init__(self, setting: Setting) -> None:
        package = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
        path = os.pathsep.join(filter(None, [package, os.environ.get("PYTHONPATH")]))
        self._command: List[Union[str, bytes]] = [
            sys.executable, "-c", "from earshot._batch import _serve; _serve()", *setting]
        self._environment = {**os.environ, "PYTHONPATH": path}
        self._guard = threading.Lock()
        self._process: Optional[subprocess.Popen[bytes]] = None
        self._stopped = False

    def do(self, task: bytes) -> Tuple[bytes, str]:
        """The answer, or none and how the process has ended."""
        with self._guard:
            if self._stopped:
                return b"", "interruption"
            if self._process is None:
                self._process = subprocess.Popen(
                    self._command, env=self._environment, stdin=subprocess.PIPE,
                    stdout=subprocess.PIPE, start_new_session=True)
            process = self._process
        assert process.stdin is not None and process.stdout is not None
        try:
            process.stdin.write(task + b"\n")
            process.stdin.flush()
            answer = process.stdout.readline()
        except BrokenPipeError:
            answer = b""
        if answer.endswith(b"\n"):
            return answer[:-1], ""
        process.kill()
        self._end(process)
        return b"", _ending(process.returncode)

    def _end(self, process: subprocess.Popen[bytes]) -> None:
        process.communicate()  # closes its pipes and waits for it
        with self._guard:
            self._process = None

    def stop(self, at_once: bool = False) -> None:
        with self._guard:
            self._stopped = True
            process = self._process
        if process is not None and at_once:
            process.kill()
        elif process is not None:
            self._end(process)


def _ending(code: int) -> str:
    if code >= 0:
        return f"exit code {code}"
    return f"signal {-code} ({signal.strsignal(-code)})"


def _by_processes(book: _Book, jobs: int) -> Generator[bytes, None, None]:
    """Records as lines end. A line is lost when a second process ends in the midst of it."""
    waiting: queue.SimpleQueue[Tuple[int, bytes]] = queue.SimpleQueue()
    answers: queue.SimpleQueue[Union[Tuple[int, bytes, str], BaseException]] = queue.SimpleQueue()
    for line in range(book.count):
        waiting.put((line, book.task(line)))
    workers = [_Worker(book.setting) for _ in range(min(jobs, book.count))]

    def work(worker: _Worker) -> None:
        try:
            while True:
                line, task = waiting.get_nowait()
                answer, how = worker.do(task)
                if not answer:
                    answer, how = worker.do(task)
                answers.put((line, answer, how))
        except queue.Empty:
            worker.stop()
        except BaseException as fault:  # the caller's thread raises it
            answers.put(fault)

    threads = [threading.Thread(target=work, args=(worker,), daemon=True) for worker in workers]
    ended = False
    try:
        for thread in threads:
            thread.start()
        for _ in range(book.count):
            ended_line = answers.get()
            if isinstance(ended_line, BaseException):
                raise ended_line
            line, answer, how = ended_line
            yield answer or book.lost(line, "two processes that rendered it ended early, the "
                                            f"second by {how}; is there enough memory?")
        ended = True
    finally:
        if not ended:
            while not waiting.empty():
                waiting.get_nowait()
            for worker in workers:
                worker.stop(at_once=True)
        for thread in threads:
            thread.join()
        if not ended:
            book.remove_unfinished()


# --- Workers of a cluster ---


def _do_there(version: str, setting: Setting, task: bytes) -> bytes:
    """A task on a worker of a cluster, which has to be as the caller takes it to be."""
    from . import __version__
    host = socket.gethostname()
    folder = os.fsdecode(setting[1])
    if __version__ != version:
        raise Error(f"the worker on {host} has earshot {__version__}, and not {version} as the "
                    "caller; install the same")
    if not os.path.isdir(os.path.join(folder, _HIDDEN)):
        raise Error(f"the worker on {host} does not see {folder} as the caller does; share the "
                    "folder under the same path")
    return _do(setting, task)


def _by_cluster(book: _Book, client: Any) -> Generator[bytes, None, None]:
    """Records as lines end.

    The scheduler does the tasks of a lost worker again elsewhere, and gives a task up when several
    workers were lost with it. It cannot know which of their tasks was to blame, so such lines wait
    for the end, when each is done alone: who loses the workers then is at fault.
    """
    from . import __version__
    distributed = import_module("distributed")
    suspects: List[int] = []
    futures: Dict[Any, int] = {}
    done = distributed.as_completed(loop=client.loop, with_results=True, raise_errors=False)
    room = _Room(client)

    def submit(line: int) -> None:
        future = client.submit(_do_there, __version__, book.setting, book.task(line), pure=False,
                               retries=_RETRIES)
        futures[future] = line
        done.add(future)

    def answers(lines: Sequence[int], most: Callable[[], int],
                failed: Callable[[int, Any], Optional[bytes]]) -> Generator[bytes, None, None]:
        rest = iter(lines)
        while True:
            for line in itertools.islice(rest, max(0, most() - len(futures))):
                submit(line)
            if not futures:
                return
            future, result = next(done)
            line = futures.pop(future)
            if not isinstance(result, bytes):
                result = failed(line, future)
            if result is not None:
                yield result

    def suspect(line: int, future: Any) -> None:
        _require_killed(future)
        suspects.append(line)

    def guilty(line: int, future: Any) -> bytes:
        _require_killed(future)
        return book.lost(line, "every worker that rendered it ended early; is there enough memory?")

    try:
        yield from answers(range(book.count), room.tasks, suspect)
        yield from answers(suspects, lambda: 1, guilty)
    finally:
        client.cancel(list(futures))


def _require_killed(future: Any) -> None:
    """Raises what a task has failed of, unless it is the loss of its workers."""
    try:
        future.result()
    except import_module("distributed").KilledWorker:
        pass


class _Room:
    """How many tasks to have at the scheduler: as many as keep all of its workers busy, and not so
    many that a lost worker brings half of the manifest under suspicion."""

    def __init__(self, client: Any) -> None:
        self._client = client
        self._tasks = 0
        self._asked = 0.0

    def tasks(self) -> int:
        now = time.monotonic()
        if self._tasks == 0 or now - self._asked > 1:  # workers come and go
            self._tasks = _PER_THREAD * max(1, sum(self._client.nthreads().values()))
            self._asked = now
        return self._tasks
