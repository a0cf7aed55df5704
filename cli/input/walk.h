// SPDX-License-Identifier: Apache-2.0
#pragma once

// The files and Maildirs that paths stand for, in order.

#include <set>
#include <string>
#include <system_error>
#include <vector>

class Walk {
public:
    enum class Kind { File, Maildir };
    struct Place {
        std::string path;
        Kind kind = Kind::File;
        std::error_code error;  // of a directory that could not be listed
    };

    // `written` is where the command writes to, a file or a directory; empty for none.  The walk
    // passes it over, or a command would go on with its own results.
    Walk(const std::vector<std::string>& paths, const std::string& written);

    // The next one; false when there is none.
    bool next(Place& place);

    // Whether the paths stand for more than one file, or for a directory.
    bool areSeveral() const { return m_areSeveral; }

    // "2 symbolic links", of what directories hold and was passed over; empty for nothing.
    std::string skipped() const;

private:
    struct Entry {
        std::string path;
        std::string root;  // the directory among the paths that it was found in; empty for none
        bool isDirectory;
    };
    struct Listed;

    bool enter(const Entry& directory, Place& place);
    std::error_code list(const Entry& directory, Listed& listed);
    bool isFollowed(const Entry& link);

    const std::string m_written;  // canonical
    std::vector<Entry> m_todo;  // the next one last
    bool m_areSeveral = false;
    std::set<std::string> m_followed;                // what symbolic links led to
    size_t m_links = 0, m_hidden = 0, m_others = 0, m_outputs = 0;  // skipped
};
