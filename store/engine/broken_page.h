#ifndef KO_ENGINE_BROKEN_PAGE_H
#define KO_ENGINE_BROKEN_PAGE_H

namespace ko::store::inner::lmdb
{

/// What to do where an engine meets pages that it trusted and cannot go on with, nor go back: it
/// must not return. For the whole process; without one, a sentence goes to standard error and the
/// process aborts.
using BrokenPageHandler = void (*)() noexcept;
void SetBrokenPageHandler(BrokenPageHandler handler);
/// Calls the handler.
[[noreturn]] void MeetBrokenPage() noexcept;

/// What begins each line that is told here: at most 31 bytes of it, none at first. Not while others
/// may call.
void SetBrokenPagePrefix(const char* prefix) noexcept;

/// A handler for a program: a sentence, and the process ends with ErrorCode::Damaged. A program
/// also has it called for SIGSEGV and SIGBUS, into which a page can lead that is out of the map or
/// that the disk no longer gives.
[[noreturn]] void EndOnBrokenPage() noexcept;

} // namespace ko::store::inner::lmdb

#endif
