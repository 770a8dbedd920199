#include "app/BidiText.h"

namespace velmora {

namespace {

constexpr QChar firstStrongIsolate{0x2068};
constexpr QChar popDirectionalIsolate{0x2069};

bool isRightToLeft(QChar c) { return c.direction() == QChar::DirR || c.direction() == QChar::DirAL; }

// The end (exclusive) of the right-to-left run that starts at `start`: its last right-to-left
// character, or a closing bracket after it that matches an opening one inside the run. The run
// stops at the first left-to-right character.
qsizetype runEnd(const QString& text, qsizetype start) {
    qsizetype end = start + 1;
    int openBrackets = 0;
    for (qsizetype i = start; i < text.size() && text[i].direction() != QChar::DirL; ++i) {
        if (text[i] == u'(') ++openBrackets;
        const bool closes = text[i] == u')' && openBrackets > 0;
        if (closes) --openBrackets;
        if (isRightToLeft(text[i]) || closes) end = i + 1;
    }
    return end;
}

}  // namespace

QString Bidi::isolated(const QString& text) {
    QString result;
    result.reserve(text.size() + 4);
    for (qsizetype i = 0; i < text.size();) {
        if (!isRightToLeft(text[i])) {
            result.append(text[i++]);
            continue;
        }
        const qsizetype end = runEnd(text, i);
        result.append(firstStrongIsolate)
            .append(QStringView(text).mid(i, end - i))
            .append(popDirectionalIsolate);
        i = end;
    }
    return result;
}

}  // namespace velmora
