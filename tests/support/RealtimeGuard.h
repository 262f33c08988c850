// support/RealtimeGuard.h — aborts on allocation inside an I/O cycle.
#pragma once

/// The guard itself has no interface: it takes the place of the allocation functions in every test executable.
namespace RealtimeGuard {
/// Whether it also sees `malloc` and its like, of this program and of the libraries it calls; else it sees
/// `operator new` only, because a sanitizer needs `malloc` for itself.
bool seesMalloc() noexcept;
/// Whether it sees `operator new`: not under the thread sanitizer, which has to know which library allocates.
bool seesNew() noexcept;
} // namespace RealtimeGuard
