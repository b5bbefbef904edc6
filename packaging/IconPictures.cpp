// SPDX-License-Identifier: MIT
// Draws the application's icon in the sizes that desktops ask for. Runs during the build, and is not installed.
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>
#include <cstdio>

/// Arguments: the drawing, the folder for the pictures, and their sizes in pixels. The pictures are named after their sizes.
int main(int argc, char** argv)
{
    if (argc < 4) {
        std::fputs("Usage: icon-pictures DRAWING.svg FOLDER SIZE...\n", stderr);
        return 2;
    }
    QSvgRenderer drawing(QString::fromLocal8Bit(argv[1]));
    if (!drawing.isValid()) {
        std::fprintf(stderr, "icon-pictures: %s cannot be drawn\n", argv[1]);
        return 1;
    }
    for (int i = 3; i < argc; ++i) {
        const int size = QByteArray(argv[i]).toInt();
        QImage picture(size, size, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        drawing.render(&painter);
        painter.end();
        if (!picture.save(QStringLiteral("%1/%2.png").arg(QString::fromLocal8Bit(argv[2])).arg(size))) {
            std::fprintf(stderr, "icon-pictures: %s/%s.png cannot be written\n", argv[2], argv[i]);
            return 1;
        }
    }
    return 0;
}
