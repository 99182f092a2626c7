// The parameters of one call, read as the operation needs them. What is wrong with one is CIM error 4.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <unordered_set>

#include "serve/cimxml/instance_name.h"
#include "serve/cimxml/request.h"

namespace diskmgt::serve {

/// Which properties are wanted.
class PropertyFilter {
public:
    /// Without a list: all.
    PropertyFilter() = default;
    explicit PropertyFilter(const std::vector<std::string>& names);
    /// Names that no class has are no error.
    bool wants(const std::string& propertyName) const;

private:
    bool wantsAll = true;
    std::unordered_set<std::string> wanted;  // folded
};

/// One that is null counts as absent. All but the constructor throw for a parameter of the wrong kind, too.
class Parameters {
public:
    /// Throws for one that the operation does not have or that is given twice. The call must outlive it.
    Parameters(const CimCall& call, std::initializer_list<const char*> known);

    bool truth(const char* name, bool otherwise) const;
    std::optional<std::string> text(const char* name) const;
    /// A class name; an empty one counts as absent.
    std::optional<std::string> className(const char* name) const;
    std::string neededClassName(const char* name) const;
    const InstanceName& neededInstance(const char* name) const;
    /// An instance, or a class when it has no keys.
    const InstanceName& neededObject(const char* name) const;
    /// Whether it is there and written as a class name.
    bool isClass(const char* name) const;
    PropertyFilter propertyList() const;

private:
    /// Null when it is absent.
    const CimParameter* find(const char* name) const;

    const CimCall& call;
};

}  // namespace diskmgt::serve
