#pragma once

// A home and a workspace of the test's own: nothing a test does reaches the real home or the
// real workspace (C:\GPX on Windows), and texts from tests/data name the workspace as this
// system shows it.

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QString>

// HOME (which Linux shows as "~") and the workspace root, <home>/GPX, for this process and the
// programs it starts.
inline void useTestHome(const QString& home) {
    qputenv("HOME", QFile::encodeName(home));
    qputenv("TARNWICK_WORKSPACE", QFile::encodeName(home + QStringLiteral("/GPX")));
}

// A text of tests/data as the program shows it: "{home}" is the test's home and "~/GPX" the
// workspace below it. Windows shows the paths that begin with them with backslashes, and has
// no "~": there the workspace shows as the folder it is.
inline QString asShown(QString text, const QString& home) {
    text.replace(QStringLiteral("{home}"), home);
#ifdef Q_OS_WIN
    text.replace(QStringLiteral("~/GPX"), home + QStringLiteral("/GPX"));
    const QRegularExpression path(QRegularExpression::escape(home) + QStringLiteral("[^\\s\"]*"));
    for (qsizetype at = 0;;) {
        const QRegularExpressionMatch match = path.match(text, at);
        if (!match.hasMatch())
            break;
        text.replace(match.capturedStart(), match.capturedLength(),
                     QDir::toNativeSeparators(match.captured()));
        at = match.capturedEnd();
    }
#endif
    return text;
}
