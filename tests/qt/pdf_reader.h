#pragma once

#include <QImage>
#include <QString>
#include <QStringList>
#include <vector>

// A PDF read back with the Debian poppler tools (pdftotext, pdffonts, pdftoppm), as a reader
// would see it: words with their positions, the fonts, a page as an image.
namespace qttest {

// One word of a page, in PDF points from the page's top left; the text is in the form a
// reader reads (compatibility characters such as the radical ⾏ folded to 行).
struct PdfWord {
    double xMin = 0;
    double yMin = 0;
    double xMax = 0;
    double yMax = 0;
    QString text;
};

struct PdfPage {
    double width = 0;
    double height = 0;
    std::vector<PdfWord> words;

    // Every word, separated by blanks.
    QString text() const;
    // The first word containing text; null when none does.
    const PdfWord* find(const QString& text) const;
    // The page number: the number standing alone in the last 20 mm of the page.
    QString footerNumber() const;
};

// Whether the poppler tools are installed.
bool havePoppler();
// Runs a program and returns its standard output; a failure fails the current test.
QString runTool(const QString& program, const QStringList& arguments);
// The pages of a PDF (work: a scratch folder).
std::vector<PdfPage> readPdf(const QString& pdf, const QString& work);
// One page rendered at 72 dots per inch (a pixel is a point); null on failure.
QImage renderPage(const QString& pdf, int page, const QString& work);
// Dark pixels of an image inside a word's box.
int inkIn(const QImage& image, const PdfWord& word);

} // namespace qttest
