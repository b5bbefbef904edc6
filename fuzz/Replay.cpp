// SPDX-License-Identifier: MIT
// Runs every target with its seeds, and with nothing. Needs no fuzzer, so any compiler can build it.
//
//   FuzzReplay FOLDER          all seeds, FOLDER/TARGET/…
//   FuzzReplay TARGET FILE…    these inputs

#include "fuzz/FuzzHome.h"
#include "fuzz/FuzzTarget.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cstdio>

namespace kestrum {

namespace {

void run(const FuzzTarget& target, const QString& path)
{
    QFile file(path);
    // Said before the run, because the run may end the program.
    std::printf("%s %s\n", target.name(), qPrintable(path));
    std::fflush(stdout);
    expect(file.open(QIODevice::ReadOnly), "the input can be read");
    const QByteArray content = file.readAll();
    // No byte more than the input has, so that reading beyond its end is seen.
    const std::vector<char> exact(content.begin(), content.end());
    target.run(exact.empty() ? std::string_view("") : std::string_view(exact.data(), exact.size()));
}

QFileInfoList entries(const QString& folder, QDir::Filter filter)
{
    return QDir(folder).entryInfoList(filter | QDir::NoDotAndDotDot, QDir::Name);
}

const FuzzTarget* find(const QString& name)
{
    const auto& all = FuzzTarget::all();
    const auto found = std::find_if(all.begin(), all.end(),
        [&](const FuzzTarget* one) { return name == QLatin1StringView(one->name()); });
    return found == all.end() ? nullptr : *found;
}

void runAll(const QString& folder)
{
    for (const QFileInfo& seeds : entries(folder, QDir::Dirs))
        expect(find(seeds.fileName()), qPrintable(seeds.fileName() + QStringLiteral(" is a target")));
    qsizetype count = 0;
    for (const FuzzTarget* target : FuzzTarget::all()) {
        const QFileInfoList files = entries(folder + u'/' + QLatin1StringView(target->name()), QDir::Files);
        expect(
            !files.isEmpty(), qPrintable(QLatin1StringView(target->name()) + QStringLiteral(" has seeds")));
        target->run("");
        for (const QFileInfo& file : files)
            run(*target, file.filePath());
        count += files.size();
    }
    std::printf("%zu targets, %lld seeds\n", FuzzTarget::all().size(), static_cast<long long>(count));
}

int run(const QStringList& words)
{
    if (words.size() == 1 && QDir(words[0]).exists()) {
        runAll(words[0]);
        return 0;
    }
    const FuzzTarget* target = words.size() > 1 ? find(words[0]) : nullptr;
    if (!target) {
        std::fprintf(stderr, "usage: FuzzReplay FOLDER | FuzzReplay TARGET FILE...\n");
        return 2;
    }
    for (const QString& path : words.mid(1))
        run(*target, path);
    return 0;
}

} // namespace
} // namespace kestrum

int main(int argc, char** argv)
{
    kestrum::FuzzHome::prepare();
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    return kestrum::run(words);
}
