// SPDX-License-Identifier: MIT
#include "Kestrum/Agent/LoginItemManager.h"
#include "Kestrum/KestrumApp.h"
#include "Kestrum/Pictures.h"
#include "Kestrum/Window/SettingsView.h"
#include "KestrumShared/Agent/LoginItemPolicy.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/ToolkitStart.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Files/Superuser.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/SingleInstance.h"

#include <QByteArrayView>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

constexpr char usage[] = "Usage: Kestrum [OPTION]\n"
                         "The settings of the Kestrum system monitor.\n"
                         "\n"
                         "  --help           print this and exit\n"
                         "  --version        print the version and exit\n"
                         "  --pictures DIR   save pictures of every page into DIR and exit\n"
                         "  --first-frame    say \"painted\" as soon as the window is, and exit\n"
                         "  -KestrumNoLoginItem\n"
                         "                   leave what starts at login alone\n";

struct Options {
    QString pictures;
    bool endsAtFirstFrame = false;

    /// Whether this run only shows the window. Such a run is possible even while another process of the application runs.
    bool isVisit() const { return endsAtFirstFrame || !pictures.isEmpty(); }
};

/// Reads the arguments into `options`; returns an exit code if the program has nothing else to do. Arguments with one dash belong
/// to Qt, and the argument after one may be its value. QCommandLineParser is not used: it treats one dash like two, so it could
/// not refuse "--platform" and pass "-platform" to Qt.
std::optional<int> read(int argc, char** argv, Options& options)
{
    using kestrum::LoginItemPolicy::suppressingArgument;
    bool mayBelongToOneBefore = false;
    for (int i = 1; i < argc; ++i) {
        const QByteArrayView argument(argv[i]);
        const bool isToolkits = std::exchange(mayBelongToOneBefore, false);
        if (argument == "--help") {
            std::fputs(usage, stdout);
            return 0;
        }
        if (argument == "--version") {
            std::puts("Kestrum " KESTRUM_VERSION);
            return 0;
        }
        if (argument == "--pictures" && i + 1 < argc) {
            options.pictures = QString::fromLocal8Bit(argv[++i]);
        } else if (argument == "--first-frame") {
            options.endsAtFirstFrame = true;
        } else if (argument.startsWith("--")) {
            std::fprintf(stderr, "Kestrum: what does %s mean?\n%s", argv[i], usage);
            return 2;
        } else if (argument.startsWith('-')) {
            mayBelongToOneBefore = argument != suppressingArgument;
        } else if (!isToolkits) {
            std::fprintf(stderr, "Kestrum: there is nothing to do with \"%s\"\n%s", argv[i], usage);
            return 2;
        }
    }
    return std::nullopt;
}

/// If another process of the application runs, brings the window of that process forward and returns the exit code for this
/// process. Returns none if this process has to open the window, because no other process runs or the other process was ending.
std::optional<int> giveWay(kestrum::SingleInstance& instance)
{
    // `token` does not remove the token from the environment, because this process's window may need it.
    if (!instance.isFirst() && !instance.raiseFirst(kestrum::WindowActivation::token())) {
        std::fputs("Kestrum: it runs already, but does not answer\n", stderr);
        return 1;
    }
    return instance.isFirst() ? std::nullopt : std::optional(0);
}

} // namespace

int main(int argc, char** argv)
{
    using namespace kestrum;
    Options options;
    if (const auto answered = read(argc, argv, options))
        return *answered;

    Log::install();
    // This comes first, so that a second start is cheap and changes nothing.
    std::optional<SingleInstance> instance;
    if (!options.isVisit()) {
        instance.emplace("Kestrum");
        if (const auto code = giveWay(*instance))
            return *code;
    }
    if (isSuperuser() && !options.isVisit())
        Log::warning("application",
            QStringLiteral(
                "running as root: the settings and the agent are root's own, and are not started at login"));
    // Set the language before the application object exists, so that Qt's own texts are in this language too.
    AppLanguage::recordLaunchedCode();
    AppLanguage::applyChoiceToProcessDefaults();

    using Run = SettingsAppDelegate::Run;
    std::optional<ToolkitStart> start(std::in_place);
    KestrumApp application(argc, argv, options.isVisit() ? Run::visitor : Run::ordinary);
    start.reset();
    if (instance) {
        QObject::connect(
            &*instance, &SingleInstance::raiseRequested, &application, &SettingsAppDelegate::bringForward);
        // Release the lock early: quitting can take a while, and meanwhile the user may open the application again.
        QObject::connect(&application, &QCoreApplication::aboutToQuit, &*instance, &SingleInstance::release);
    }
    QObject::connect(&application, &KestrumApp::windowShown, &application, [&] {
        if (!options.pictures.isEmpty()) {
            // Pages show the login item from their first frame, so its state must be read before the pictures are saved.
            auto* loginItem = new LoginItemManager(&application);
            QObject::connect(loginItem, &LoginItemManager::refreshed, &application, [&] {
                QCoreApplication::exit(Pictures::save(*application.window(), options.pictures) ? 0 : 1);
            });
            loginItem->refresh();
        } else if (options.endsAtFirstFrame) {
            std::puts("painted");
            std::fflush(stdout); // at once, for programs that measure the time
            QCoreApplication::exit(0);
        }
    });
    application.launch();
    return KestrumApp::exec();
}
