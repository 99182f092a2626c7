// ICIMNamespace, ICIMClass, ICIMInstance, ICIMProperty: the host's CIM object model. The order of the
// virtual operations is binary interface, and nothing comes before them: no virtual destructor, since
// every object is held by the shared pointer that its maker created.
//
// Callers pass a new `options` each time and discard it. Only the class lookup fills it: its "nspID" says whose
// classes are meant.
#pragma once

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>
#include <map>
#include <string>

#include "plugin/host/cim_value.h"
#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

class ICIMClass;
class ICIMInstance;
class ICIMProperty;

using TCIMOptions = std::map<std::string, TCIMValue>;

class TAL_API ICIMNamespace {
public:
    /// The class of that exact name; throws `TTALException` when it is unknown.
    virtual boost::shared_ptr<ICIMClass> GetClass(const std::string& className, TCIMOptions& options) = 0;

protected:
    ~ICIMNamespace() = default;
};

class TAL_API ICIMClass {
public:
    virtual std::string GetName(TCIMOptions& options) = 0;
    virtual boost::shared_ptr<ICIMNamespace> GetNamespace(TCIMOptions& options) = 0;
    /// True when the class is an association class.
    virtual bool IsAssociation(TCIMOptions& options) = 0;
    /// A new, empty instance, not yet part of any result; null if the host refuses.
    virtual boost::shared_ptr<ICIMInstance> CreateInstance(TCIMOptions& options) = 0;
    /// Calls `callback` once per existing instance, in the order of creation, until it returns false.
    /// `flag` 1: the instances of subclasses too.
    virtual void EnumerateInstances(boost::function<bool(boost::shared_ptr<ICIMInstance>)> callback, int flag,
                                    TCIMOptions& options) = 0;

protected:
    ~ICIMClass() = default;
};

class TAL_API ICIMInstance {
public:
    /// Commits the instance to its class's result set. Reached through `AddToClass`.
    virtual void CommitToClass(TCIMOptions options) = 0;
    /// The property of that name; throws `TTALException` when the class declares none.
    virtual boost::shared_ptr<ICIMProperty> GetProperty(const std::string& name, TCIMOptions& options) = 0;
    /// Replaces the property's value; throws `TTALException` when the value's type does not fit.
    virtual void SetProperty(const std::string& name, TCIMValue& value, TCIMOptions& options) = 0;
    /// The instance's own object path.
    virtual TCIMReference GetReference(TCIMOptions& options) = 0;

    /// Commits the instance, forwarding a copy of the options.
    void AddToClass(TCIMOptions options) { CommitToClass(options); }

protected:
    ~ICIMInstance() = default;
};

/// One property of one instance.
class TAL_API ICIMProperty {
public:
    /// The declared type; for an array property, the type of its elements.
    virtual TCIMValue::TCIMType GetType(TCIMOptions& options) = 0;
    /// True when the property is declared as an array.
    virtual bool IsArray(TCIMOptions& options) = 0;
    /// The current value; the null value when nothing was assigned.
    virtual TCIMValue GetValue(TCIMOptions& options) = 0;

protected:
    ~ICIMProperty() = default;
};

}  // namespace NVEXTAL20
