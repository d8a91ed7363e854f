// bench/Memory.h
//
// What this process holds in memory, as the kernel counts it.

#pragma once

#include <QtGlobal>

/// Resident memory in bytes; -1 where the kernel does not say.
qint64 residentBytes();
/// The largest resident memory in bytes since the start or the last call of forgetPeak(); -1 where unknown.
qint64 peakResidentBytes();
/// Starts a new peak. False where the kernel does not allow that. See "clear_refs" in proc(5).
bool forgetPeak();
