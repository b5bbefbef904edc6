// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/TracedSave.h"

#include <QMap>
#include <vector>

namespace kestrum {

/// The states in which a power cut may leave a disk. They follow from the calls of a save and from what the system promises:
/// - What was flushed is there. A file and the directory of its name are flushed separately.
/// - Of a file that was not flushed, each page may be there, be as before or be zero, and the file may end after any page.
/// - Of a directory that was not flushed, each change may be there or not. Changes of one name happen in their order.
class PowerCut {
public:
    /// The content of each file, by its path.
    using Files = QMap<QByteArray, QByteArray>;

    /// `root` and the directories of `before` are on disk, and so are these files. Calls for files elsewhere are ignored.
    PowerCut(const QByteArray& root, const Files& before);

    /// Makes the call, which must have succeeded.
    void make(const TracedSave::Call& call);
    /// All states in which a power cut at this moment may leave the files. Some may be equal.
    QList<Files> states() const;

private:
    /// A file, apart from its names.
    struct Node {
        QByteArray flushed;
        QByteArray content;
        bool isFlushed = true;
        QByteArrayList variants() const;
    };
    /// A change of a directory: a file or directory gets the name `to` and loses the name `from`, if there is one.
    struct Change {
        QByteArray from;
        QByteArray to;
        int node; ///< the index in `m_nodes`; -1 for a directory
        bool isFlushed = false;
        bool dependsOn(const Change& other) const;
    };

    void addStates(const std::vector<const Change*>& changes, QList<Files>& states) const;

    QByteArray m_root;
    QMap<QByteArray, int> m_before; ///< the files on disk at the beginning
    QMap<QByteArray, int> m_now;    ///< the files that programs see
    QByteArrayList m_directories;   ///< the directories on disk at the beginning
    std::vector<Node> m_nodes;
    std::vector<Change> m_changes;
};

} // namespace kestrum
