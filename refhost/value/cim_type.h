// CimType: the CIM data types, and their lower-case MOF words.
#pragma once

#include <boost/shared_ptr.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "plugin/host/cim_value.h"
#include "plugin/host/tal_api.h"

namespace refhost {

enum class CimType : std::uint8_t {
    kString,
    kBoolean,
    kUint8,
    kUint16,
    kUint32,
    kUint64,
    kSint8,
    kSint16,
    kSint32,
    kSint64,
    kReal32,
    kReal64,
    kChar16,
    kDatetime,
    kReference,
};

/// The type's word; lives for the process.
TAL_API const std::string& nameOf(CimType type);
/// Nothing when no type has exactly that word.
TAL_API std::optional<CimType> cimTypeNamed(std::string_view word);
/// The one content that every `TCIMType` of this type shares.
const boost::shared_ptr<const NVEXTAL20::TCIMValue::TCIMType::Content>& typeContent(CimType type);

}  // namespace refhost
