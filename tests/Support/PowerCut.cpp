// SPDX-License-Identifier: MIT
#include "tests/Support/PowerCut.h"

namespace kestrum {

namespace {

constexpr qsizetype pageSize = 4096;

QByteArray directoryOf(const QByteArray& path)
{
    return path.left(path.lastIndexOf('/'));
}

} // namespace

PowerCut::PowerCut(const QByteArray& root, const Files& before)
    : m_root(root)
    , m_directories { root }
{
    for (auto file = before.begin(); file != before.end(); ++file) {
        m_before.insert(file.key(), int(m_nodes.size()));
        m_nodes.push_back({ file.value(), file.value() });
        for (QByteArray path = directoryOf(file.key()); path.size() > root.size(); path = directoryOf(path))
            m_directories.append(path);
    }
    m_now = m_before;
}

void PowerCut::make(const TracedSave::Call& call)
{
    if (!call.file.startsWith(m_root))
        return;
    const bool isKnown = m_now.contains(call.file);
    if (call.name == "openat" && !isKnown && !call.detail.isEmpty()) {
        m_now.insert(call.file, int(m_nodes.size()));
        m_changes.push_back({ {}, call.file, int(m_nodes.size()) });
        m_nodes.emplace_back();
    } else if (call.name == "openat" && call.detail == "empty") {
        Node& node = m_nodes[size_t(m_now[call.file])];
        node.content.clear();
        node.isFlushed = false;
    } else if (call.name == "write" && isKnown) {
        Node& node = m_nodes[size_t(m_now[call.file])];
        node.content += call.detail;
        node.isFlushed = false;
    } else if (call.name == "fsync" && isKnown) {
        Node& node = m_nodes[size_t(m_now[call.file])];
        node.flushed = node.content;
        node.isFlushed = true;
    } else if (call.name == "fsync") {
        for (Change& change : m_changes)
            change.isFlushed = change.isFlushed || directoryOf(change.to) == call.file;
    } else if (call.name.startsWith("mkdir")) {
        m_changes.push_back({ {}, call.file, -1 });
    } else if (call.name.startsWith("rename")) {
        const int node = m_now.take(call.detail);
        m_now.insert(call.file, node);
        m_changes.push_back({ call.detail, call.file, node });
    }
}

QByteArrayList PowerCut::Node::variants() const
{
    if (isFlushed)
        return { flushed };
    QByteArrayList all { flushed };
    const qsizetype pages = (content.size() + pageSize - 1) / pageSize;
    for (qsizetype count = 0; count <= pages; ++count) {
        const qsizetype size = qMin(content.size(), count * pageSize);
        for (int written = 0; written < 1 << count; ++written) {
            QByteArray text = flushed.left(size).leftJustified(size, '\0');
            for (qsizetype page = 0; page < count; ++page) {
                const QByteArray bytes = content.mid(page * pageSize, pageSize);
                if ((written >> page & 1) != 0)
                    text.replace(page * pageSize, bytes.size(), bytes);
            }
            all.append(text);
        }
    }
    return all;
}

bool PowerCut::Change::dependsOn(const Change& other) const
{
    return from == other.to || to == other.to || (!other.from.isEmpty() && to == other.from);
}

QList<PowerCut::Files> PowerCut::states() const
{
    std::vector<const Change*> open;
    for (const Change& change : m_changes) {
        if (!change.isFlushed)
            open.push_back(&change);
    }
    QList<Files> states;
    for (size_t chosen = 0; chosen < size_t(1) << open.size(); ++chosen) {
        const auto isChosen = [&](size_t at) { return (chosen >> at & 1) != 0; };
        bool isLegal = true;
        for (size_t later = 0; later < open.size(); ++later) {
            for (size_t earlier = 0; earlier < later; ++earlier)
                isLegal = isLegal
                    && (!isChosen(later) || isChosen(earlier) || !open[later]->dependsOn(*open[earlier]));
        }
        std::vector<const Change*> done;
        for (const Change& change : m_changes) {
            const auto at = size_t(std::find(open.begin(), open.end(), &change) - open.begin());
            if (at == open.size() || isChosen(at))
                done.push_back(&change);
        }
        if (isLegal)
            addStates(done, states);
    }
    return states;
}

/// Adds the states in which exactly these changes of directories are on disk.
void PowerCut::addStates(const std::vector<const Change*>& changes, QList<Files>& states) const
{
    QMap<QByteArray, int> names = m_before;
    QByteArrayList directories = m_directories;
    for (const Change* change : changes) {
        if (!directories.contains(directoryOf(change->to)))
            continue; // nobody finds what is in a lost directory
        names.remove(change->from);
        if (change->node < 0)
            directories.append(change->to);
        else
            names.insert(change->to, change->node);
    }
    QList<Files> found { Files() };
    for (auto name = names.begin(); name != names.end(); ++name) {
        QList<Files> more;
        for (const Files& files : found) {
            for (const QByteArray& content : m_nodes[size_t(name.value())].variants()) {
                more.append(files);
                more.last().insert(name.key(), content);
            }
        }
        found = more;
    }
    states.append(found);
}

} // namespace kestrum
