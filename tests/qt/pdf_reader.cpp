#include "tests/qt/pdf_reader.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QStandardPaths>

#include <gtest/gtest.h>

namespace qttest {

QString PdfPage::text() const {
    QString all;
    for (const PdfWord& w : words) {
        all += w.text + QLatin1Char(' ');
    }
    return all;
}

const PdfWord* PdfPage::find(const QString& text) const {
    for (const PdfWord& w : words) {
        if (w.text.contains(text)) {
            return &w;
        }
    }
    return nullptr;
}

QString PdfPage::footerNumber() const {
    static const QRegularExpression number(QStringLiteral(R"(^\d+$)"));
    constexpr double kPointsPerMm = 72 / 25.4;
    for (const PdfWord& w : words) {
        if (w.yMin > height - 20 * kPointsPerMm && number.match(w.text).hasMatch()) {
            return w.text;
        }
    }
    return QStringLiteral("<none>");
}

bool havePoppler() {
    return !QStandardPaths::findExecutable(QStringLiteral("pdftotext")).isEmpty() &&
           !QStandardPaths::findExecutable(QStringLiteral("pdftoppm")).isEmpty() &&
           !QStandardPaths::findExecutable(QStringLiteral("pdffonts")).isEmpty();
}

QString runTool(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        ADD_FAILURE() << program.toStdString() << " failed: " << process.readAllStandardError().toStdString();
        return {};
    }
    return QString::fromUtf8(process.readAllStandardOutput());
}

std::vector<PdfPage> readPdf(const QString& pdf, const QString& work) {
    const QString html = QDir(work).filePath(QStringLiteral("words.html"));
    runTool(QStringLiteral("pdftotext"), {QStringLiteral("-bbox"), pdf, html});
    QFile file(html);
    std::vector<PdfPage> pages;
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "pdftotext wrote nothing for " << pdf.toStdString();
        return pages;
    }
    const QString content = QString::fromUtf8(file.readAll());
    static const QRegularExpression pageTag(QStringLiteral(R"re(<page width="([\d.]+)" height="([\d.]+)">)re"));
    static const QRegularExpression wordTag(
        QStringLiteral(R"re(<word xMin="([\d.]+)" yMin="([\d.]+)" xMax="([\d.]+)" yMax="([\d.]+)">([^<]*)</word>)re"));
    for (const QString& chunk : content.split(QStringLiteral("</page>"))) {
        const QRegularExpressionMatch head = pageTag.match(chunk);
        if (!head.hasMatch()) {
            continue;
        }
        PdfPage page{head.captured(1).toDouble(), head.captured(2).toDouble(), {}};
        for (auto it = wordTag.globalMatch(chunk, head.capturedEnd()); it.hasNext();) {
            const QRegularExpressionMatch m = it.next();
            // The PDF maps some glyphs to compatibility characters (行 to the radical ⾏).
            page.words.push_back(PdfWord{m.captured(1).toDouble(), m.captured(2).toDouble(), m.captured(3).toDouble(),
                                         m.captured(4).toDouble(),
                                         m.captured(5).normalized(QString::NormalizationForm_KC)});
        }
        pages.push_back(page);
    }
    return pages;
}

QImage renderPage(const QString& pdf, int page, const QString& work) {
    const QString base = QDir(work).filePath(QStringLiteral("page%1").arg(page));
    runTool(QStringLiteral("pdftoppm"), {QStringLiteral("-r"), QStringLiteral("72"), QStringLiteral("-f"),
                                         QString::number(page), QStringLiteral("-l"), QString::number(page),
                                         QStringLiteral("-png"), QStringLiteral("-singlefile"), pdf, base});
    return QImage(base + QStringLiteral(".png"));
}

int inkIn(const QImage& image, const PdfWord& word) {
    int ink = 0;
    for (int y = static_cast<int>(word.yMin); y <= static_cast<int>(word.yMax) && y < image.height(); ++y) {
        for (int x = static_cast<int>(word.xMin); x <= static_cast<int>(word.xMax) && x < image.width(); ++x) {
            ink += qGray(image.pixel(x, y)) < 128 ? 1 : 0;
        }
    }
    return ink;
}

} // namespace qttest
