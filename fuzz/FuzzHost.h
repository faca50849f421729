#pragma once

#include "HostFixture.h"

#include <QByteArray>

#include <cstddef>
#include <cstdint>

/// What libFuzzer calls with each input, and the replay with each file of a corpus.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// A host with the plug-in, shared by all inputs of a process.
class FuzzHost : public HostFixture
{
public:
    static FuzzHost &the();

    /// A fresh scene with the layers "A", of nodes "d" and "e", and "B", of none.
    void start();
    /// Drags `data` over a row, or over empty space for an empty path, and drops it.
    void drop(const QMimeData &data, const QString &path) const;
};

/// Ends the process, and with it the run, when `fact` is false.
void require(bool fact, const char *what);
