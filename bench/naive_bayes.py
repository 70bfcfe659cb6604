"""Naive Bayes beside NumPy: class moments by one-hot matrix products, Gaussian log-densities by
matrix products, both over chunks of rows. Started by bench/run with the built program.

    naive_bayes.py PROGRAM ROWS THREADS

PROGRAM writes the rows to the file ROWS and answers requests; see naive_bayes.cpp. NumPy's number of
threads and its processor are set by the caller, before it is imported; chunks of 2,000 rows were its
fastest.
"""
import statistics
import subprocess
import sys
import time

import numpy as np

CASES, INPUTS, CLASSES, CHUNK, ROUNDS = 1000000, 50, 5, 2000, 5
program, path, threads = sys.argv[1], sys.argv[2], sys.argv[3]
ours = subprocess.Popen([program, path], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)


def ask(what):
    ours.stdin.write(f"{what} {threads}\n")
    ours.stdin.flush()
    return float(ours.stdout.readline())


def chunks():
    for first in range(0, CASES, CHUNK):
        yield slice(first, first + CHUNK)


ask("reading")  # the rows are written by now
numbers = np.fromfile(path)
rows = numbers[:CASES * INPUTS].reshape(CASES, INPUTS)
classes = numbers[CASES * INPUTS:].astype(np.int64)
one_hot = np.eye(CLASSES)[classes]


def estimate():
    """Count, mean and variance per class; the sums are taken around the mean of the first rows."""
    shift = rows[:CHUNK].mean(axis=0)
    sums, squares = np.zeros((CLASSES, INPUTS)), np.zeros((CLASSES, INPUTS))
    for part in chunks():
        centred = rows[part] - shift
        member = one_hot[part].T
        sums += member @ centred
        np.multiply(centred, centred, out=centred)
        squares += member @ centred
    count = one_hot.sum(axis=0)[:, None]
    mean = sums / count
    return count, mean + shift, (squares - count * mean * mean) / (count - 1)


def classify(count, mean, variance):
    """Predicted class per row."""
    linear, square = (mean / variance).T, (-0.5 / variance).T
    constant = (np.log(count[:, 0] / CASES) - 0.5 * np.log(variance).sum(axis=1)
                - 0.5 * (mean * mean / variance).sum(axis=1))
    predicted = np.empty(CASES, dtype=np.int64)
    for part in chunks():
        x = rows[part]
        predicted[part] = (x @ linear + (x * x) @ square + constant).argmax(axis=1)
    return predicted


def seconds(run):
    start = time.perf_counter()
    run()
    return time.perf_counter() - start


def compare(what, peer):
    """Each turn runs both twice in a row and counts the second: NumPy's threads spin for a while after
    their last product, and the system takes some milliseconds to give a program that slept its second
    processor."""
    figures = {"qrvml": [], "NumPy": []}
    for _ in range(ROUNDS):
        time.sleep(0.1)
        ask(what)
        figures["qrvml"].append(ask(what))
        peer()
        figures["NumPy"].append(seconds(peer))
    medians = {name: statistics.median(values) for name, values in figures.items()}
    print(f"{what}, {threads} thread(s)")
    for name, values in figures.items():
        print(f"  {name:6}", *(f"{value:8.4f}" for value in values), f" median {medians[name]:.4f} s")
    print(f"  ratio {medians['qrvml'] / medians['NumPy']:.3f}")


model = estimate()
compare("estimation", estimate)
compare("classification", lambda: classify(*model))
right = int((classify(*model) == classes).sum())
print(f"  correct: qrvml {ask('correct'):.0f}, NumPy {right} of {CASES}")
single = ("reader", "reading", "stored", "streamed", "again", "posterior")
values = {what: [] for what in single}
for _ in range(ROUNDS):
    for what in single:
        values[what].append(ask(what))
for what in single:
    print(f"{what:10}", *(f"{value:8.4f}" for value in values[what]),
          f" median {statistics.median(values[what]):.4f} s")
ours.stdin.close()
ours.wait()
