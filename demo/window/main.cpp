// A window with a browser engine that still loads NPAPI plug-ins, for the enrolment page.
//
//   certenroll_window [options] ADDRESS
//
// MOZ_PLUGIN_PATH names the folder of the plug-in. Whatever the page remembers is kept in --storage (without it, in the
// user's own data folder, like any browser). With --script the page is driven as driver.h tells, and the exit code says
// whether all of it went well: 0 yes, 1 no, 2 wrong arguments or a page that does not load.
#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTextStream>
#include <QTimer>
#include <QWebFrame>
#include <QWebPage>
#include <QWebSettings>
#include <QWebView>

#include "demo/window/driver.h"

namespace {

constexpr int kNotLoaded = 2;

// Page tells script errors and console lines to standard error, and runs a script ahead of the page's own.
class Page : public QWebPage {
  public:
    explicit Page(QString scriptBeforeAll) : before(std::move(scriptBeforeAll)) {
        connect(mainFrame(), &QWebFrame::javaScriptWindowObjectCleared, this,
                [this] { mainFrame()->evaluateJavaScript(before); });
    }

    // errors counts what the page complained of.
    int errors = 0;

  protected:
    void javaScriptConsoleMessage(const QString& message, int line, const QString& source) override {
        ++errors;
        QTextStream(stderr) << source << ':' << line << ": " << message << '\n';
    }

  private:
    QString before;
};

struct Options {
    QUrl address;
    QString storage;
    QString script;
    QString inject;
    QString screenshot;
    QString report;
    QSize size;
    int waitMilliseconds = 0;
    bool noPlugins = false;
};

Options readOptions(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription("Shows the enrolment page in a browser engine that loads NPAPI plug-ins.");
    parser.addHelpOption();
    parser.addPositionalArgument("address", "address of the page");
    const QCommandLineOption storage("storage", "folder for what the page remembers", "folder");
    const QCommandLineOption script("script", "drive the page by the commands in this file, then quit", "file");
    const QCommandLineOption inject("inject", "run this script ahead of the page's own", "file");
    const QCommandLineOption screenshot("screenshot", "write a picture of the window before quitting", "file");
    const QCommandLineOption size("size", "size of the window", "WIDTHxHEIGHT", "980x900");
    const QCommandLineOption wait("wait", "seconds that the driver waits for an element", "seconds", "60");
    const QCommandLineOption report("report", "where the driver reports (else standard output)", "file");
    const QCommandLineOption noPlugins("no-plugins", "load no plug-ins");
    parser.addOptions({storage, script, inject, screenshot, size, wait, report, noPlugins});
    parser.process(application);
    if (parser.positionalArguments().size() != 1)
        parser.showHelp(kNotLoaded);
    Options options;
    options.address = QUrl::fromUserInput(parser.positionalArguments().first());
    options.storage = parser.value(storage);
    options.script = parser.value(script);
    options.inject = parser.value(inject);
    options.screenshot = parser.value(screenshot);
    options.size = QSize(parser.value(size).section('x', 0, 0).toInt(), parser.value(size).section('x', 1, 1).toInt());
    options.waitMilliseconds = parser.value(wait).toInt() * 1000;
    options.report = parser.value(report);
    options.noPlugins = parser.isSet(noPlugins);
    return options;
}

QString readText(const QString& name) {
    QFile file(name);
    return !name.isEmpty() && file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void applySettings(const Options& options) {
    QWebSettings* const settings = QWebSettings::globalSettings();
    QString storage = options.storage;
    if (storage.isEmpty())
        storage = QStandardPaths::writableLocation(QStandardPaths::AppDataLocation);
    QDir().mkpath(storage);
    settings->setAttribute(QWebSettings::PluginsEnabled, !options.noPlugins);
    settings->setAttribute(QWebSettings::LocalStorageEnabled, true);
    settings->setAttribute(QWebSettings::JavaEnabled, false);
    settings->setLocalStoragePath(storage);
}

int driveAndQuit(QWebView& view, const Page& page, const Options& options) {
    QFile report(options.report);
    const bool reporting = options.report.isEmpty() ? report.open(stdout, QIODevice::WriteOnly)
                                                    : report.open(QIODevice::WriteOnly | QIODevice::Truncate);
    if (!reporting) {
        QTextStream(stderr) << "cannot write " << options.report << '\n';
        return 1;
    }
    Driver driver(view, options.waitMilliseconds, report);
    QString trouble = driver.run(readText(options.script).split('\n'));
    if (trouble.isEmpty() && page.errors > 0)
        trouble = "the page has script errors";
    if (!options.screenshot.isEmpty() && !driver.screenshot(options.screenshot) && trouble.isEmpty())
        trouble = "the picture could not be written";
    if (!trouble.isEmpty()) {
        QTextStream(stderr) << trouble << '\n';
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("certenroll_window");
    const Options options = readOptions(application);
    if (!options.script.isEmpty() && !QFile::exists(options.script)) {
        QTextStream(stderr) << "there is no script " << options.script << '\n';
        return kNotLoaded;
    }
    applySettings(options);

    Page page(readText(options.inject));
    QWebView view;
    view.setPage(&page);
    view.resize(options.size);
    view.show();
    QObject::connect(&view, &QWebView::titleChanged, &view, &QWidget::setWindowTitle);
    QApplication::setActiveWindow(&view);
    view.setFocus();

    // The driver starts after loadFinished has been served, so that it may load again.
    bool loaded = false;
    QTimer starter;
    starter.setSingleShot(true);
    QObject::connect(&starter, &QTimer::timeout, &application,
                     [&] { QApplication::exit(loaded ? driveAndQuit(view, page, options) : kNotLoaded); });
    bool waiting = !options.script.isEmpty() || !options.screenshot.isEmpty();
    QObject::connect(&view, &QWebView::loadFinished, &application, [&](bool good) {
        if (waiting) {
            waiting = false;
            loaded = good;
            starter.start(0);
        }
    });
    view.load(options.address);
    return QApplication::exec();
}
