// library/RecordListing.h — the recordings of a folder, as read from the disk.
#pragma once
#include "base/VmTableView.h"
#include "library/RecordRow.h"

#include <atomic>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class Volume;

/// Names and rows, parallel, in the order of the names: the oldest first, hidden ones before all others.
///
/// Only regular files are listed: folders, links and pipes are not, whatever their names, and never opened. A
/// file that cannot be read, or is none of ours but for its name, has a row with an empty note.
struct RecordListing {
    struct Request {
        std::string folder;
        std::string progressPath; ///< of the recording in progress, or empty
        std::string checkMark;    ///< what stands for a lock
    };
    std::string folder;
    std::vector<std::string> names; ///< bare
    std::vector<RecordRow> rows;
    int error = 0;          ///< errno of a folder that could not be read to its end; no rows then
    bool isComplete = true; ///< false when it was given up

    /// Any thread. Reads only the files that are not in `known` as they are. Gives up once `superseded`.
    static RecordListing read(Volume& volume, const Request& request, const RecordListing& known,
                              const std::atomic<bool>& superseded);
    /// Any thread. Reads one row anew; false when there is no such recording. `row` is unchanged then.
    static bool readRow(Volume& volume, const Request& request, const std::string& name, RecordRow& row);
    /// Whether both show the same.
    bool isSame(const RecordListing& other) const;
    /// -1 for a name that is not there.
    int rowOfName(std::string_view name) const;
    /// The row of the file that was called `name` and has another one now: a recording keeps its start. The
    /// last of several; -1 when there is none.
    int rowOfFile(const FileStatus& file, std::string_view name) const;
    /// Orders names and rows by the first of `descriptors`, equal ones by the next, at last by name.
    void sort(const std::vector<SortDescriptor>& descriptors);
};
