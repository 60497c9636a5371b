// The inputs of inkrecog: ink files, JSON-lines files, directories of them and standard
// input, read into Samples.
//
// Faults are reported per input and never stop the run: a bad ink file is one fault
// ("file: byte offset: what is wrong", from inkcheck) and its scribble is skipped; a bad
// JSON line is one fault ("file:line: what is wrong") and the lines after it are still
// read.
#ifndef INKRECOG_INPUTS_H
#define INKRECOG_INPUTS_H

#include "inkcheck.h"
#include "scribbleset.h"

#include <QStringList>

#include <functional>

enum class InputFormat {
    Auto, // by suffix (.ink; .jsonl, .ndjson, .json), otherwise by content
    Ink,
    JsonLines,
};

struct InputOptions
{
    InputFormat format = InputFormat::Auto;
    inkcheck::InkCheckOptions limits;
};

struct InputCallbacks
{
    // Called once for each scribble read, in input order; the sample may be moved from.
    std::function<void(Sample &)> sample;
    // Called with a complete message for each fault.
    std::function<void(const QString &)> fault;
    // Called now and then with the bytes of this input consumed so far.
    std::function<void(qint64)> progress;
};

// The name used for standard input in messages and sources.
extern const QString standardInputName;

// Expands the inputs named on the command line, in the order given: a directory stands
// for the files below it, at any depth, whose suffix is .ink, .jsonl, .ndjson or .json
// (sorted by path; hidden files and folders are left out); "-" and any other path stand
// for themselves, whatever their suffix. Paths that do not exist are kept too: reading
// them reports the fault.
QStringList expandInputs(const QStringList &arguments);

// The size of the file at path, or -1 for standard input and what cannot be sized.
qint64 inputSize(const QString &path);

// Reads one input ("-" is standard input). True when it was read without a fault.
bool readInput(const QString &path, const InputOptions &options, const InputCallbacks &callbacks);

#endif
