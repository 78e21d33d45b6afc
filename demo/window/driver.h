// Drives a page by its own controls, from a script of one command a line:
//
//   wait SELECTOR                until the element is there and visible
//   wait-text SELECTOR TEXT      until the element's text (or value) holds TEXT
//   wait-gone SELECTOR           until no visible element matches
//   click SELECTOR               scrolls there and clicks with the mouse, as a person would
//   type SELECTOR TEXT           clicks into a field, and types TEXT in place of what is there
//   choose SELECTOR TEXT         picks an option of a list by its beginning, with the keyboard
//   press KEY...                 presses keys such as Tab, Shift+Tab, Space, Return, Down
//   enter TEXT                   types TEXT wherever the focus is
//   expect-text SELECTOR TEXT    fails unless the element's text holds TEXT
//   expect-focus SELECTOR        fails unless the focus is on that element
//   expect-gone SELECTOR         fails if a visible element matches
//   expect EXPRESSION            fails unless the script expression is true
//   check FILE                   runs a script file, and fails with the text that it gives unless that is "good"
//   await FILE                   until the file exists
//   print SELECTOR               writes the element's text to the report
//   save SELECTOR FILE           writes it to a file
//   screenshot FILE              the window as it stands on the screen
//   screenshot-page FILE         the whole page
//   reload, size WIDTH HEIGHT
//
// A selector with blanks stands in quotation marks. Lines that begin with # say what follows and go to the report.
// Waits end after the driver's time limit.
#ifndef VT_DEMO_WINDOW_DRIVER_H
#define VT_DEMO_WINDOW_DRIVER_H

#include <QIODevice>
#include <QString>
#include <QStringList>
#include <QTextStream>
#include <QWebElement>
#include <QWebView>

class Driver {
  public:
    Driver(QWebView& window, int waitMilliseconds, QIODevice& reportTo)
        : view(window), waitLimit(waitMilliseconds), report(&reportTo) {}

    // run plays the script; gives an empty text, or what went wrong and in which line.
    QString run(const QStringList& lines);

    // screenshot writes the window as the screen shows it, the plug-in's own window included; false if it cannot.
    bool screenshot(const QString& file);

  private:
    struct Command {
        QString name;
        QString selector;
        QString rest;
    };
    static Command parse(const QString& line);
    QString perform(const Command& command);
    QString performOnElement(const Command& command);

    QWebElement visible(const QString& selector) const;
    QString textOf(const QString& selector) const;
    QString evaluate(const QString& expression) const;
    void tell(const QString& text);
    template <typename Condition>
    bool waitUntil(Condition condition);

    QString click(const QString& selector);
    QString choose(const QString& selector, const QString& beginning);
    QString press(const QString& keys);
    void enter(const QString& text);
    bool screenshotPage(const QString& file);
    void reload();

    QWebView& view;
    int waitLimit;
    QTextStream report;
};

#endif
