#pragma once

#include "mkKernel/mkScenegraph.h"

/// Reads a scene file of another format in a process of its own, so that nothing in the file can
/// harm this one: that process has memory and time in proportion to the sizes of the file and of
/// those beside it, which it may name, and ends at once when the user cancels. What it says of
/// things left out goes to the log.
///
/// Throws std::runtime_error with a reason for the user, and mkSceneFile::Cancelled.
mkScenegraph::Document readForeignScene(const QString &file, const mkSceneFile::Progress &progress);

/// The process itself: "--convert IN OUT" with these two files. It reports progress on standard
/// output, a number a line, unless that is a terminal, and the reason of a failure in the last line
/// on standard error. Returns the exit status.
int convertScene(const QString &file, const QString &target);
