// The details of one item, from corpus files loaded as the window loads them and from crafted
// scratch files and favorites; and the pane following the grid's current row.

#include "../app/MainWindowFixture.h"

#include "app/ItemDetailsPane.h"
#include "items/FavoritesScanner.h"
#include "items/FlexGridModel.h"
#include "items/ItemDetails.h"
#include "items/SourceLoad.h"
#include "items/TracksScanner.h"

#include <QBuffer>
#include <QLabel>
#include <QScreen>

class DetailsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { qputenv("TZ", "UTC"); } // times show in the local time zone

    void detailsOfItems_data() { addTableRows("items_details.tsv"); }

    void detailsOfItems() {
        QFETCH(QStringList, row);
        const QString file = row[1], item = row[3];
        const bool tracks = row[2] == "trk", crafted = file.startsWith('<');
        QByteArray scratchBytes = file.toUtf8();
        QString code = file, name = item, symbol, sourceName = item;
        if (!crafted) {
            QFile source(QStringLiteral(TARNWICK_CORPUS "/") + file);
            if (!source.exists())
                QSKIP("the corpus is absent");
            QVERIFY(openSourceFile(source));
            QBuffer scratch(&scratchBytes);
            scratch.open(QIODevice::WriteOnly);
            TracksScanner trackScanner(&scratch);
            FavoritesScanner favoriteScanner;
            QVERIFY(readInBlocks(
                source,
                [&](QByteArrayView bytes) {
                    return tracks ? trackScanner.feed(bytes) : favoriteScanner.feed(bytes);
                },
                [] { return true; }));
            QVERIFY(!tracks || trackScanner.finish());
            FlexGridModel grid(4); // as the loads fill it: row 0 the heading
            grid.AddItem(" ");
            tracks ? grid.appendRows(trackRows(trackScanner.takeItems()))
                   : appendFavoriteRows(grid, favoriteScanner.takeItems());
            const int r = item.toInt();
            name = grid.TextMatrix(r, 1), code = grid.TextMatrix(r, 2),
            symbol = grid.TextMatrix(r, 3);
            if (tracks) // the names of these tracks stand in the file as the grid shows them
                sourceName = name;
        }
        QStringList lines;
        const auto check = [&row](int column, const QString& seen) {
            if (row[column] != "-")
                QCOMPARE(seen, row[column]);
        };
        const auto near = [&row](int column, double seen, double tolerance) {
            if (row[column] != "-")
                QVERIFY2(std::abs(seen - row[column].toDouble()) <= tolerance,
                         qPrintable(QString::number(seen, 'f', 6)));
        };
        if (tracks) {
            QBuffer scratch(&scratchBytes);
            scratch.open(QIODevice::ReadOnly);
            const TrackDetails d = trackDetails(scratch, sourceName);
            lines = trackLines(d, QLocale::c());
            QCOMPARE(d.readable, row[15] != notReadableText());
            check(4, QString::number(d.points));
            check(5, QString::number(d.segments));
            near(6, d.length, row[6].toDouble() * 0.005);
            check(7, d.firstTime);
            check(8, d.lastTime);
            near(9, d.lowest, 1e-6);
            near(10, d.highest, 1e-6);
            QVERIFY(d.outline.size() <= 2001);
            QCOMPARE(d.outline.isEmpty(), d.points == 0);
        } else {
            const FavoriteDetails d = favoriteDetails(code);
            lines = favoriteLines(name, symbol, d, QLocale::c());
            QCOMPARE(d.readable, !row[15].endsWith(notReadableText()));
            near(11, d.latitude, 1e-9);
            near(12, d.longitude, 1e-9);
            check(13, d.address);
            check(14, d.phone);
        }
        check(15, row[15].contains(" | ") ? lines.join(" | ") : lines.first());
    }

    // A long track keeps an outline of about 2,000 points that ends at its last point.
    void outlineOfALongTrack() {
        QByteArray bytes = "<trk><name>L</name>\r\n<trkseg>\r\n";
        for (int i = 0; i < 9999; ++i)
            bytes +=
                QStringLiteral("<trkpt lat=\"%1\" lon=\"0\"></trkpt>\r\n").arg(i / 1e4).toUtf8();
        QBuffer scratch(&bytes);
        scratch.open(QIODevice::ReadOnly);
        const TrackDetails d = trackDetails(scratch, "L");
        QCOMPARE(d.points, 9999);
        QVERIFY(d.outline.size() >= 1000 && d.outline.size() <= 2001);
        QCOMPARE(d.outline.first().latitude, 0.0);
        QCOMPARE(d.outline.last().latitude, 0.9998);
        QCOMPARE(d.outline[1].latitude - d.outline[0].latitude,
                 d.outline[2].latitude - d.outline[1].latitude);
    }

    // The pane follows the current row, and the tooltip of a row is the pane's first line.
    void paneFollowsTheCurrentRow() {
        MainWindowFixture f;
        frmForm1& w = f.startWithSource(
            "<gpx><wpt lat=\"1.5\" lon=\"2\"><name>Home</name><sym>Flag</sym></wpt>\r\n"
            "<wpt lat=\"1\" lon=\"2\"><name>" +
            QByteArray("a long name of many words ").repeated(8) +
            "</name></wpt>\r\n"
            "<trk><name>Day</name><trkseg><trkpt lat=\"0\" lon=\"0\"></trkpt>"
            "<trkpt lat=\"0\" lon=\"0.001\"></trkpt></trkseg></trk></gpx>");
        w.mnuSelectFavorites_Click();
        auto* pane = w.findChild<QWidget*>("itemDetails");
        QVERIFY(pane && pane->isHidden());
        // At the screen's right edge, the widened window moves back onto the screen.
        const QRect free = w.screen()->availableGeometry();
        w.move(free.right() + 1 - w.frameGeometry().width(), w.frameGeometry().top());
        w.findChild<QAction*>("mnuViewDetails")->trigger();
        QVERIFY(!pane->isHidden());
        QVERIFY2(free.contains(w.frameGeometry()),
                 qPrintable(QString("%1 %2").arg(w.frameGeometry().right()).arg(free.right())));
        QTRY_COMPARE(w.Grid1->width(), w.Grid1->property("twips").toRect().width() / 15);
        QCOMPARE(pane->findChild<QLabel*>()->text(), QString());
        f.clickGrid(1);
        const QString favorite = QLocale().toString(1.5, 'f', 6);
        QVERIFY2(pane->findChild<QLabel*>()->text().contains(favorite),
                 qPrintable(pane->findChild<QLabel*>()->text()));
        const QString tip = qobject_cast<ItemDetailsPane*>(pane)->summaryOf(1);
        QVERIFY(tip.startsWith("Home (Flag): N 1° 30"));
        // A line longer than the pane wraps within it.
        f.clickGrid(2);
        auto* text = pane->findChild<QLabel*>();
        QVERIFY(text->text().contains("many words a long name"));
        QVERIFY(text->minimumSizeHint().width() <= text->width());
        w.mnuSelectTracks_Click();
        QCOMPARE(pane->findChild<QLabel*>()->text(), QString());
        f.clickGrid(1);
        QVERIFY(pane->findChild<QLabel*>()->text().startsWith(QLocale().toString(2) + " points"));
        // The track runs east along the equator: one line across the drawing.
        const QImage drawing = pane->grab().toImage();
        // The line on a white ground, from a green dot at its start to a black one at its end.
        int red = 0, white = 0, green = 0, black = 0;
        for (int y = 0; y < drawing.height(); ++y)
            for (int x = 0; x < drawing.width(); ++x) {
                const QColor c = drawing.pixelColor(x, y);
                red += c == QColor(200, 30, 30), white += c == QColor(Qt::white);
                green += c == QColor(0, 150, 0), black += c == QColor(Qt::black);
            }
        QVERIFY2(red > drawing.width() / 2 && white > 100 * red && green > 10 && black > 10,
                 qPrintable(QString("%1 %2 %3").arg(red).arg(green).arg(black)));
        // At 150% the grey frame keeps all four sides.
        auto* outline = pane->findChild<QWidget*>("trackOutline");
        QImage scaled(outline->size() * 3 / 2, QImage::Format_RGB32);
        scaled.setDevicePixelRatio(1.5);
        outline->render(&scaled);
        const int right = scaled.width() - 1, bottom = scaled.height() - 1;
        for (const QPoint side : {QPoint(right / 2, 0), QPoint(0, bottom / 3),
                                  QPoint(right / 2, bottom), QPoint(right, bottom / 3)})
            QCOMPARE(scaled.pixelColor(side), QColor(160, 160, 160));
    }
};

QTEST_MAIN(DetailsTest)
#include "tst_details.moc"
