#include "dmJsonReaderImp.h"

#include "dmRapidJsonImp.h"
#include "dmUtf8.h"

namespace dmJson
{

ClassEntry& Reader::classOf(std::string_view name)
{
    const auto found = _classes.find(name);
    if (found != _classes.end())
        return found->second;
    ClassEntry entry{quoted(name), nullptr, {}};
    entry.creator = DmPropertyFactory::getInstance().findCreator(entry.name.view());
    return _classes.emplace(name, std::move(entry)).first->second;
}

FaultPtr Reader::fault(Fault&& fault) const
{
    fault.place = _input.place();
    return std::make_unique<Fault>(std::move(fault));
}

eDmErrorId Reader::create(DmPropertyCreator creator, DmPropertySetPtr& set)
{
    if (!creator)
        return DM_PROPERTY_NOT_FOUND;
    DmPropertySet* made = nullptr;
    const eDmErrorId status = DmPropertyFactory::getInstance().create(creator, DmNodeId(), 0, made);
    const DmPropertySetPtr owner(made);
    if (status == DM_NO_ERROR)
        set = owner;
    return status;
}

/// The parser decodes strings without looking at their bytes, and lets an escaped half of a pair through.
bool Reader::isWellFormed(std::string_view text)
{
    if (!_input.isAscii() && !dmIsUtf8(text))
        _stopped = zrRapidjson::GetParseError_En(zrRapidjson::kParseErrorStringInvalidEncoding);
    return !_stopped;
}

bool Reader::scalar(const Scalar& value)
{
    if (_levels.empty())
        _document.fault = fault({.kind = Fault::NoObject});
    else
        std::visit([&](auto& level) { level.scalar(*this, value); }, _levels.back());
    return !_stopped;
}

bool Reader::String(const char* /*text*/, unsigned length, bool /*copy*/)
{
    const std::string_view value = _input.string(length);
    return isWellFormed(value) && scalar({Scalar::String, value});
}

bool Reader::Key(const char* /*text*/, unsigned length, bool /*copy*/)
{
    const std::string_view name = _input.string(length);
    if (!isWellFormed(name))
        return false;
    std::visit([&](auto& level) { level.key(*this, name); }, _levels.back());
    return true;
}

bool Reader::StartObject()
{
    if (_levels.empty())
        open<Slot>(Slot::Document, nullptr);
    else
        std::visit([this](auto& level) { level.object(*this); }, _levels.back());
    return !_stopped;
}

bool Reader::StartArray()
{
    if (_levels.empty())
    {
        _document.fault = fault({.kind = Fault::NoObject});
        open<Ignored>();
    }
    else
        std::visit([this](auto& level) { level.array(*this); }, _levels.back());
    return !_stopped;
}

bool Reader::close()
{
    Outcome outcome = std::visit([this](auto& level) { return level.close(*this); }, _levels.back());
    _levels.pop_back();
    if (!_levels.empty())
        std::visit([&](auto& level) { level.take(*this, std::move(outcome)); }, _levels.back());
    else if (!_document.fault)
        _document = std::move(outcome);
    return true;
}

DmStatus Reader::finish(DmPropertySetPtr& root, DmJsonPlace& place)
{
    if (_document.fault)
    {
        place = _document.fault->place;
        return _document.fault->report();
    }
    root = std::move(_document.set);
    return {};
}

} // namespace dmJson
