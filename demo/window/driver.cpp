#include "demo/window/driver.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QScreen>
#include <QTextStream>
#include <QThread>
#include <QTimer>
#include <QWebFrame>
#include <QWebPage>
#include <QWindow>

namespace {

constexpr int kPauseMilliseconds = 20;

// rest lets the engine lay out, run timers and talk to the network.
void rest(int milliseconds = kPauseMilliseconds) {
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    QObject::connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(milliseconds);
    loop.exec();
}

void sendKey(QWidget& widget, int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    QKeyEvent down(QEvent::KeyPress, key, modifiers, text);
    QApplication::sendEvent(&widget, &down);
    QKeyEvent up(QEvent::KeyRelease, key, modifiers, text);
    QApplication::sendEvent(&widget, &up);
}

QString quotedForScript(QString text) {
    text.replace('\\', "\\\\").replace('\'', "\\'");
    return '\'' + text + '\'';
}

// isHit tells whether a click at that place of the window would reach the element.
bool isHit(QWebElement& element, const QPoint& place) {
    const QString expression = QString(
                                   "var hit = document.elementFromPoint(%1, %2);"
                                   "this === hit || this.contains(hit)")
                                   .arg(place.x())
                                   .arg(place.y());
    return element.evaluateJavaScript(expression).toBool();
}

QString failedUnless(bool good, const QString& complaint) {
    return good ? QString() : complaint;
}

}  // namespace

Driver::Command Driver::parse(const QString& line) {
    Command command;
    command.name = line.section(' ', 0, 0);
    QString tail = line.section(' ', 1).trimmed();
    if (tail.startsWith('"')) {
        const int end = tail.indexOf('"', 1);
        command.selector = tail.mid(1, end - 1);
        command.rest = end < 0 ? QString() : tail.mid(end + 1).trimmed();
    } else {
        command.selector = tail.section(' ', 0, 0);
        command.rest = tail.section(' ', 1).trimmed();
    }
    if (QStringList({"press", "enter", "expect", "check", "await", "size", "screenshot", "screenshot-page"})
            .contains(command.name))
        command.rest = tail;
    return command;
}

QString Driver::run(const QStringList& lines) {
    for (int at = 0; at < lines.size(); ++at) {
        const QString line = lines[at].trimmed();
        if (line.isEmpty())
            continue;
        if (line.startsWith('#')) {
            tell(line.mid(1).trimmed());
            continue;
        }
        const QString trouble = perform(parse(line));
        if (!trouble.isEmpty())
            return QString("line %1, %2: %3").arg(at + 1).arg(line, trouble);
        rest();
    }
    return {};
}

QString Driver::perform(const Command& command) {
    if (command.name == "press")
        return press(command.rest);
    if (command.name == "enter") {
        enter(command.rest);
        return {};
    }
    if (command.name == "expect") {
        const QString value = evaluate(command.rest);
        return failedUnless(value == "true", "it is " + value);
    }
    if (command.name == "check") {
        QFile file(command.rest);
        const QString answer = file.open(QIODevice::ReadOnly) ? evaluate(QString::fromUtf8(file.readAll()).trimmed())
                                                              : "there is no such file";
        return failedUnless(answer == "good", "it says: " + answer);
    }
    if (command.name == "await")
        return failedUnless(waitUntil([&] { return QFile::exists(command.rest); }), "it did not appear");
    if (command.name == "screenshot")
        return failedUnless(screenshot(command.rest), "the picture could not be written");
    if (command.name == "screenshot-page")
        return failedUnless(screenshotPage(command.rest), "the picture could not be written");
    if (command.name == "reload") {
        reload();
        return {};
    }
    if (command.name == "size") {
        view.resize(command.rest.section(' ', 0, 0).toInt(), command.rest.section(' ', 1, 1).toInt());
        return {};
    }
    return performOnElement(command);
}

QString Driver::performOnElement(const Command& command) {
    const QString& selector = command.selector;
    if (command.name == "wait")
        return failedUnless(waitUntil([&] { return !visible(selector).isNull(); }), "it did not appear");
    if (command.name == "wait-text") {
        return failedUnless(waitUntil([&] { return textOf(selector).contains(command.rest); }),
                            "its text is: " + textOf(selector));
    }
    if (command.name == "wait-gone")
        return failedUnless(waitUntil([&] { return visible(selector).isNull(); }), "it is still there");
    if (command.name == "expect-gone")
        return failedUnless(visible(selector).isNull(), "it is there");
    if (command.name == "expect-focus") {
        const QString focused =
            evaluate("document.activeElement === document.querySelector(" + quotedForScript(selector) + ")");
        return failedUnless(focused == "true", "the focus is on " + evaluate("document.activeElement.tagName + '#' + "
                                                                             "document.activeElement.id"));
    }
    if (visible(selector).isNull())
        return "there is no such element to be seen";
    if (command.name == "click")
        return click(selector);
    if (command.name == "type") {
        QString trouble = click(selector);
        if (trouble.isEmpty()) {
            sendKey(view, Qt::Key_A, Qt::ControlModifier, QString());
            sendKey(view, Qt::Key_Delete, Qt::NoModifier, QString());
            enter(command.rest);
        }
        return trouble;
    }
    if (command.name == "choose")
        return choose(selector, command.rest);
    if (command.name == "expect-text")
        return failedUnless(textOf(selector).contains(command.rest), "its text is: " + textOf(selector));
    if (command.name == "print") {
        tell(textOf(selector));
        return {};
    }
    if (command.name == "save") {
        QFile file(command.rest);
        const QByteArray text = textOf(selector).toUtf8();
        return failedUnless(file.open(QIODevice::WriteOnly) && file.write(text) == text.size(),
                            "the file could not be written");
    }
    return "there is no such command";
}

QWebElement Driver::visible(const QString& selector) const {
    for (const QWebElement& element : view.page()->mainFrame()->findAllElements(selector))
        if (!element.geometry().isEmpty() &&
            element.styleProperty("visibility", QWebElement::ComputedStyle) != "hidden")
            return element;
    return {};
}

QString Driver::textOf(const QString& selector) const {
    QWebElement element = visible(selector);
    if (element.isNull())
        return {};
    static const QStringList kFields = {"INPUT", "TEXTAREA", "SELECT"};
    return kFields.contains(element.tagName()) ? element.evaluateJavaScript("this.value").toString()
                                               : element.toPlainText();
}

void Driver::tell(const QString& text) {
    report << text << '\n';
    report.flush();
}

QString Driver::evaluate(const QString& expression) const {
    return view.page()->mainFrame()->evaluateJavaScript("String(" + expression + ")").toString();
}

template <typename Condition>
bool Driver::waitUntil(Condition condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > waitLimit)
            return false;
        rest();
    }
    return true;
}

QString Driver::click(const QString& selector) {
    QWebElement element = visible(selector);
    if (element.evaluateJavaScript("this.disabled").toBool())
        return "it is disabled";
    // A page that is still being filled moves its elements about; a person would follow with the mouse.
    QPoint place;
    const bool reached = waitUntil([&] {
        element.evaluateJavaScript("this.scrollIntoViewIfNeeded(true)");
        rest();
        place = element.geometry().center() - view.page()->mainFrame()->scrollPosition();
        return isHit(element, place);
    });
    if (!reached)
        return "something else lies over it";
    for (const QEvent::Type type : {QEvent::MouseMove, QEvent::MouseButtonPress, QEvent::MouseButtonRelease}) {
        const bool moving = type == QEvent::MouseMove;
        QMouseEvent event(type, place, view.mapToGlobal(place), moving ? Qt::NoButton : Qt::LeftButton,
                          type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(&view, &event);
    }
    return {};
}

QString Driver::choose(const QString& selector, const QString& beginning) {
    QWebElement element = visible(selector);
    element.setFocus();
    const QString at = "this.options[this.selectedIndex].text";
    const int count = element.evaluateJavaScript("this.options.length").toInt();
    for (int step = 0; step < count; ++step)
        sendKey(view, Qt::Key_Up, Qt::NoModifier, QString());
    for (int step = 0; step < count; ++step) {
        if (element.evaluateJavaScript(at).toString().startsWith(beginning))
            return {};
        sendKey(view, Qt::Key_Down, Qt::NoModifier, QString());
    }
    return "the list has no such option";
}

QString Driver::press(const QString& keys) {
    for (const QString& name : keys.split(' ', Qt::SkipEmptyParts)) {
        const QKeySequence sequence(name);
        if (sequence.isEmpty() || sequence[0] == Qt::Key_unknown)
            return "there is no key " + name;
        int key = sequence[0] & ~static_cast<int>(Qt::KeyboardModifierMask);
        const Qt::KeyboardModifiers modifiers(sequence[0] & static_cast<int>(Qt::KeyboardModifierMask));
        if (key == Qt::Key_Tab && modifiers.testFlag(Qt::ShiftModifier))
            key = Qt::Key_Backtab;
        QString text;
        if (key == Qt::Key_Space)
            text = " ";
        else if (key == Qt::Key_Return)
            text = "\r";
        sendKey(view, key, modifiers, text);
        rest();
    }
    return {};
}

void Driver::enter(const QString& text) {
    for (const QChar c : text)
        sendKey(view, 0, Qt::NoModifier, QString(c));
}

bool Driver::screenshot(const QString& file) {
    rest(200);
    const QWindow* const window = view.windowHandle();
    QScreen* const screen = window ? window->screen() : QApplication::primaryScreen();
    return screen->grabWindow(view.winId()).save(file, "PNG");
}

bool Driver::screenshotPage(const QString& file) {
    QWebFrame* const frame = view.page()->mainFrame();
    const QSize before = view.size();
    view.resize(before.width(), frame->contentsSize().height());
    rest(200);
    QImage image(view.size(), QImage::Format_RGB32);
    QPainter painter(&image);
    view.page()->mainFrame()->render(&painter);
    painter.end();
    view.resize(before);
    return image.save(file, "PNG");
}

void Driver::reload() {
    QEventLoop loop;
    QObject::connect(&view, &QWebView::loadFinished, &loop, &QEventLoop::quit);
    view.reload();
    loop.exec();
}
