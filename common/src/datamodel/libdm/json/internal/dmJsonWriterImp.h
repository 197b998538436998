/// Writes a property set and all that it holds as a document, straight from the definitions of its class: no document
/// is held in memory.
///
/// A Double on its way into the file runs through dmTreeJsonBuilder.cpp, dmJsonWriter.cpp (the property, by its type:
/// dmPropertyType.h; its field: dmPropertySet.cpp), dmJsonFormat.cpp (its digits), dmJsonTextImp.h, dmJsonOutputImp.h,
/// CoFile.cpp (the bytes).
#pragma once

#include "dmJsonOutputImp.h"
#include "dmPropertySet.h"

#include <exception>
#include <string>

namespace dmJson
{

/// Why a set cannot be written. Internal to this room.
class WriteFailed : public std::exception
{
public:
    explicit WriteFailed(std::string text)
        : _text(std::move(text))
    {
    }
    const char* what() const noexcept override { return _text.c_str(); }

private:
    std::string _text;
};

/// Throws WriteFailed, or what `output` throws.
void writeDocument(const DmPropertySet& root, bool pretty, Output& output);

} // namespace dmJson
