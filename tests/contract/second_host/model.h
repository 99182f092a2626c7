// Namespace, classes and instances of the second host, which tests can seed and read back.
#pragma once

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "plugin/host/cim_model.h"
#include "plugin/host/tal_api.h"
#include "tests/contract/second_host/class_table.h"

namespace second_host {

class Class;
class Namespace;

class TAL_API Instance final : public NVEXTAL20::ICIMInstance, public boost::enable_shared_from_this<Instance> {
public:
    explicit Instance(Class& ownClass) : cls(&ownClass) {}

    void CommitToClass(NVEXTAL20::TCIMOptions options) override;
    boost::shared_ptr<NVEXTAL20::ICIMProperty> GetProperty(const std::string& name,
                                                           NVEXTAL20::TCIMOptions& options) override;
    void SetProperty(const std::string& name, NVEXTAL20::TCIMValue& value, NVEXTAL20::TCIMOptions& options) override;
    NVEXTAL20::TCIMReference GetReference(NVEXTAL20::TCIMOptions& options) override;

    const std::string& className() const;
    /// The value as the host holds it; the null value when nothing was assigned.
    NVEXTAL20::TCIMValue value(const std::string& name) const;
    /// Text of a scalar; nothing for null.
    std::optional<std::string> text(const std::string& name) const;
    /// Texts of an array's elements; nothing for null.
    std::optional<std::vector<std::string>> elements(const std::string& name) const;
    /// The instance that a reference names; null without one.
    const NVEXTAL20::ICIMInstance* referenced(const std::string& name) const;
    /// Every assigned property as text, for comparing whole instances. References are left out.
    std::map<std::string, std::string> texts() const;
    /// Assigns a string, for seeding.
    void seed(const std::string& name, const std::string& text);

private:
    const PropertyRow& declaration(const std::string& name) const;
    bool fits(const PropertyRow& row, const NVEXTAL20::TCIMValue& value) const;

    Class* const cls;
    std::map<std::string, NVEXTAL20::TCIMValue> values;
};

class TAL_API Class final : public NVEXTAL20::ICIMClass, public boost::enable_shared_from_this<Class> {
public:
    Class(const ClassRow& declared, Namespace& owner) : row(&declared), home(&owner) {}

    std::string GetName(NVEXTAL20::TCIMOptions& options) override;
    boost::shared_ptr<NVEXTAL20::ICIMNamespace> GetNamespace(NVEXTAL20::TCIMOptions& options) override;
    bool IsAssociation(NVEXTAL20::TCIMOptions& options) override;
    boost::shared_ptr<NVEXTAL20::ICIMInstance> CreateInstance(NVEXTAL20::TCIMOptions& options) override;
    void EnumerateInstances(boost::function<bool(boost::shared_ptr<NVEXTAL20::ICIMInstance>)> callback, int flag,
                            NVEXTAL20::TCIMOptions& options) override;

    const ClassRow& declared() const { return *row; }
    void commit(boost::shared_ptr<Instance> instance);
    std::vector<boost::shared_ptr<Instance>> committed() const;
    /// Whether the class is that one or a subclass of it.
    bool isA(const std::string& ancestor) const;

private:
    const ClassRow* const row;
    Namespace* const home;
    mutable std::mutex guard;
    std::vector<boost::shared_ptr<Instance>> instances;
};

class TAL_API Namespace final : public NVEXTAL20::ICIMNamespace, public boost::enable_shared_from_this<Namespace> {
public:
    /// Has every class of the table and no instance.
    static boost::shared_ptr<Namespace> create();

    boost::shared_ptr<NVEXTAL20::ICIMClass> GetClass(const std::string& className,
                                                     NVEXTAL20::TCIMOptions& options) override;

    /// Null when the class is unknown. Not recorded as a call.
    boost::shared_ptr<Class> find(const std::string& className) const;
    const std::vector<boost::shared_ptr<Class>>& all() const { return classes; }
    /// The instances committed to exactly this class, in order.
    std::vector<boost::shared_ptr<Instance>> instances(const std::string& className) const;
    /// Commits an instance that a test made.
    boost::shared_ptr<Instance> seed(const std::string& className, const std::map<std::string, std::string>& texts);

private:
    std::vector<boost::shared_ptr<Class>> classes;
};

}  // namespace second_host
