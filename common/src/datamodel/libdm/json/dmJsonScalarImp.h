/// A JSON string, number, bool or null on its way into a property.
#pragma once

#include "dmJsonFormatImp.h"
#include "dmPropertySet.h"

namespace dmJson
{

struct Scalar
{
    enum Kind
    {
        Null,
        False,
        True,
        Number,
        String
    };

    Kind kind;
    std::string_view text; ///< as it stands in the document, without quotes and escapes; UTF-8
};

/// The text that a property is set from: a string's own, a number's as it would be written again. Lives as long as the
/// scalar's and `buffer`.
std::string_view textOf(const Scalar& scalar, char (&buffer)[numberSize]);

/// Whether a scalar is an integer that an int holds.
bool toInt(const Scalar& scalar, int& value);

/// Sets a property, or appends an element to a vector of values, with the result that setPropertyValueFromStr has with
/// the scalar's text, but for a Char: a text of exactly one character is that one, a blank included. Takes no lock and
/// posts no message: the set is nobody else's yet.
eDmErrorId store(DmPropertySet& set, int index, const Scalar& scalar);

} // namespace dmJson
