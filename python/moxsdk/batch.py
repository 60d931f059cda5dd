"""Many files through moxsdk.process_file: on a Dask cluster, or in a local pool of processes.

    from moxsdk.batch import process_files
    results = process_files("models/", "out/", tangents=True)                   # local processes
    results = process_files(paths, "/shared/out", client=Client("sched:8786"))  # a Dask cluster

Each file gives one dict, the same as a line of `moxmesh batch`: "input", "output", "status" ("ok",
"failed" or "skipped"), "seconds", and "input_sha256" and "report" (process_file's dict) when it
succeeded or "error" when it failed. The files to process, their output names and the resume record
(OUTDIR/.moxmesh-batch.jsonl) are those of `moxmesh batch`, so the two can resume each other's runs.
Every file is processed on its own, so the same bytes come out whatever the number of workers.
"""

import concurrent.futures
import multiprocessing
import os
import time

from . import _moxsdk

__all__ = ["process_files", "process_one"]

_OPTIONS = ("normals", "smooth_angle", "tangents", "split", "clean")


def process_one(input, output, options):
    """process_file on one file, its outcome as a batch line; never raises for a file's own failure."""
    start = time.perf_counter()
    line = {"input": input, "output": output, "status": "failed"}
    try:
        os.makedirs(os.path.dirname(output) or ".", exist_ok=True)
        report = _moxsdk.process_file(input, output, **options)
        line.update(status="ok", input_sha256=report["input"]["sha256"], report=report)
    except Exception as error:  # noqa: BLE001 - a file's failure is reported in its line, the batch goes on
        line["error"] = str(error)
    line["seconds"] = time.perf_counter() - start
    return line


def _failed(input, output, error):
    return {"input": input, "output": output, "status": "failed", "error": f"{type(error).__name__}: {error}",
            "seconds": 0.0}


def _run_on_client(client, inputs, outputs, options):
    futures = client.map(process_one, inputs, outputs, [options] * len(inputs), pure=False)
    lines = []
    for input, output, future in zip(inputs, outputs, futures):
        try:
            lines.append(future.result())
        except Exception as error:  # noqa: BLE001 - the worker died (a crashing reader): that file failed
            lines.append(_failed(input, output, error))
    return lines


def _run_locally(jobs, inputs, outputs, options):
    if not inputs:
        return []
    # spawn: the workers start clean, whatever threads the caller runs.
    context = multiprocessing.get_context("spawn")
    with concurrent.futures.ProcessPoolExecutor(max_workers=jobs or os.cpu_count(), mp_context=context) as pool:
        futures = [pool.submit(process_one, input, output, options) for input, output in zip(inputs, outputs)]
        lines = []
        for input, output, future in zip(inputs, outputs, futures):
            try:
                lines.append(future.result())
            except Exception as error:  # noqa: BLE001 - a worker died: that file (and the pool) failed
                lines.append(_failed(input, output, error))
        return lines


def process_files(paths, out_dir, client=None, jobs=None, resume=False, format="obj", **options):
    """Runs process_file(input, output, **options) over the files and returns one dict per file, in order.

    paths: a directory (every mesh file under it) or a sequence of files. out_dir: where the outputs go
    (on a cluster, a directory every worker sees at the same path). client: a dask.distributed.Client
    whose workers do the work; None: a local pool of `jobs` processes (all cores when None). resume: skip
    files whose output exists and whose recorded input digest still matches. format: "obj", "gltf" or
    "glb". options: those of process_file (normals, smooth_angle, tangents, split, clean).
    """
    unknown = sorted(set(options) - set(_OPTIONS))
    if unknown:
        raise TypeError(f"process_files: unknown options {unknown}; expected some of {list(_OPTIONS)}")
    if format not in ("obj", "gltf", "glb"):
        raise ValueError(f"format: expected 'obj', 'gltf' or 'glb', got {format!r}")
    os.makedirs(out_dir, exist_ok=True)
    plan = _moxsdk._batch_plan(paths if isinstance(paths, (str, os.PathLike)) else list(paths), out_dir, format, resume)
    results = [{"input": input, "output": output, "status": "skipped"} if up_to_date else None
               for input, output, up_to_date in plan]
    todo = [index for index, result in enumerate(results) if result is None]
    inputs = [plan[index][0] for index in todo]
    outputs = [plan[index][1] for index in todo]
    if client is not None:
        lines = _run_on_client(client, inputs, outputs, options)
    else:
        lines = _run_locally(jobs, inputs, outputs, options)
    for index, line in zip(todo, lines):
        results[index] = line
        if line["status"] == "ok":
            _moxsdk._batch_record(out_dir, line["output"], line["input_sha256"])
    return results
