#pragma once

#include <QString>

// Keeps only the characters that are safe in a folder or file name: ASCII letters and digits,
// '-', ' ', '_' and '\''. Every other character is dropped, nothing is put in its place.
QString CleanName(const QString& text);

// Decodes the references "&amp;" and "&apos;" until neither is left, also where a
// replacement forms a new one ("&amp;amp;" gives "&"). Every other reference stays as it is.
QString DecodeXmlEntities(const QString& text);
