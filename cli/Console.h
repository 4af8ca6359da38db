#pragma once

#include <QByteArrayView>
#include <QIODevice>

// The console the command line prints to. Redirected to a file or a pipe, its text is UTF-8.
// A Windows console is given the text itself, so that "Völkerschlachtdenkmal" shows as it is
// whatever the console's code page (850, 437 ...), which would turn UTF-8 bytes into
// "VÃ¶lker...".
namespace Console {

enum class Stream { Output, Error };

// Writes UTF-8 text to standard output or error: as text to a Windows console, as the bytes
// elsewhere.
void write(Stream stream, QByteArrayView utf8);

// Standard output or error as a device, for a QTextStream.
class Device : public QIODevice {
public:
    explicit Device(Stream stream)
        : m_stream(stream) {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        Console::write(m_stream, QByteArrayView(data, size));
        return size;
    }

private:
    Stream m_stream;
};

// Whether a window can be shown: on Linux a display must be named (DISPLAY, WAYLAND_DISPLAY)
// unless Qt is told to use another platform; Windows always has one.
bool hasDisplay();

// Whether anything written to standard error reaches someone: a program started from Explorer
// or a shortcut on Windows has nowhere to write it.
bool hasStandardError();

} // namespace Console
