#ifndef ORVEX_TESTS_RECORDINGCOMPOSER_H
#define ORVEX_TESTS_RECORDINGCOMPOSER_H

#include <core/OrvexCore.h>

#include <QString>
#include <QStringList>

// A line composer that keeps every line it is given; install it with Orvex::setDefaultLogger.
class RecordingComposer : public Orvex::TextLineComposer<char>
{
public:
    void writeLine(const std::string &line) override { lines << QString::fromStdString(line); }
    QStringList lines;
};

#endif // ORVEX_TESTS_RECORDINGCOMPOSER_H
