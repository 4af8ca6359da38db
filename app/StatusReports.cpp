#include "app/StatusReports.h"

#include "items/FlexGridModel.h"

#include <QDesktopServices>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QProgressBar>
#include <QSet>
#include <QStatusBar>
#include <QUrl>

#include <algorithm>

namespace {

// The progress bar counts thousandths of the file.
constexpr int progressSteps = 1000;

QString number(qint64 n) {
    return QLocale().toString(n);
}

QString counted(qint64 n, const QString& one, const QString& many) {
    return number(n) + QLatin1Char(' ') + (n == 1 ? one : many);
}

} // namespace

StatusReports::StatusReports(QStatusBar* bar, const FlexGridModel* items)
    : QObject(bar)
    , m_bar(bar)
    , m_report(new QLabel(bar))
    , m_progress(new QProgressBar(bar))
    , m_items(items) {
    bar->setObjectName(QStringLiteral("statusBar"));
    m_report->setObjectName(QStringLiteral("statusReport"));
    m_report->setTextFormat(Qt::RichText);
    m_report->setTextInteractionFlags(Qt::LinksAccessibleByMouse | Qt::LinksAccessibleByKeyboard);
    connect(m_report, &QLabel::linkActivated, this,
            [](const QString& link) { QDesktopServices::openUrl(QUrl(link)); });
    m_progress->setObjectName(QStringLiteral("loadProgress"));
    m_progress->setRange(0, progressSteps);
    m_progress->setMaximumWidth(160);
    m_progress->hide();
    bar->addWidget(m_report, 1);
    bar->addPermanentWidget(m_progress);

    auto recount = [this] {
        if (!m_noun.isEmpty())
            countMarks();
    };
    connect(items, &QAbstractItemModel::dataChanged, this, recount);
    connect(items, &QAbstractItemModel::modelReset, this, &StatusReports::stopCounting);
}

void StatusReports::show(const QString& text, const QString& folder) {
    m_text = text;
    m_link = folder;
    QString html = text.toHtmlEscaped();
    if (!folder.isEmpty())
        html += QStringLiteral(" &nbsp;<a href=\"%1\">Open folder</a>")
                    .arg(QUrl::fromLocalFile(folder).toString(QUrl::FullyEncoded));
    m_report->setText(html);
    m_report->setToolTip(folder.isEmpty() ? QString() : QDir::toNativeSeparators(folder));
}

void StatusReports::say(const QString& text) {
    m_progress->hide();
    show(text);
}

void StatusReports::failed(const QString& command, const QString& reason) {
    m_progress->hide();
    show(command + QStringLiteral(" failed: ") + reason);
}

void StatusReports::copied(const QString& path, bool existed) {
    const QString name = QFileInfo(path).fileName();
    say(existed ? QStringLiteral("An identical copy of this minute exists already: %1").arg(name)
                : QStringLiteral("Copied to %1").arg(name));
}

void StatusReports::loadStarted(const QString& path) {
    stopCounting();
    m_progress->setValue(0);
    m_progress->show();
    show(QStringLiteral("Reading %1").arg(QDir::toNativeSeparators(path)));
}

void StatusReports::loadProgress(qint64 done, qint64 total) {
    m_progress->setValue(total > 0 ? int(qMin(done, total) * progressSteps / total) : 0);
}

void StatusReports::loaded(bool tracks) {
    m_progress->hide();
    m_noun = tracks ? QStringLiteral("tracks") : QStringLiteral("favorites");
    countMarks();
}

void StatusReports::exported(const QString& path, const QList<SymbolPair>* conversion) {
    QSet<QString> untranslated;
    for (int row = 1; conversion && row < m_items->Rows(); ++row) {
        const QString& symbol = m_items->TextMatrix(row, 3);
        if (m_items->TextMatrix(row, 0) == QLatin1String("X") &&
            std::none_of(conversion->begin(), conversion->end(),
                         [&symbol](const SymbolPair& pair) { return pair.nuvi == symbol; }))
            untranslated.insert(symbol);
    }
    QString text = QStringLiteral("Exported %1 to %2")
                       .arg(counted(markedRows(), QStringLiteral("item"), QStringLiteral("items")),
                            QFileInfo(path).fileName());
    if (!untranslated.isEmpty())
        text += QStringLiteral("; %1 had no translation")
                    .arg(counted(untranslated.size(), QStringLiteral("symbol"),
                                 QStringLiteral("symbols")));
    m_progress->hide();
    show(text, QFileInfo(path).absolutePath());
}

void StatusReports::saved(const QString& path, int favorites) {
    say(QStringLiteral("Saved %1 to %2")
            .arg(counted(favorites, QStringLiteral("favorite name"),
                         QStringLiteral("favorite names")),
                 QFileInfo(path).fileName()));
}

void StatusReports::markedNew(qsizetype saved) {
    say(QStringLiteral("%1 marked as new; %2 saved earlier")
            .arg(counted(markedRows(), QStringLiteral("favorite"), QStringLiteral("favorites")),
                 number(saved)));
}

int StatusReports::markedRows() const {
    int marked = 0;
    for (int row = 1; row < m_items->Rows(); ++row)
        marked += m_items->TextMatrix(row, 0) == QLatin1String("X");
    return marked;
}

void StatusReports::countMarks() {
    show(QStringLiteral("%1 %2, %3 marked")
             .arg(number(qMax(m_items->Rows() - 1, 0)), m_noun, number(markedRows())));
}

void StatusReports::stopCounting() {
    m_noun.clear();
}
