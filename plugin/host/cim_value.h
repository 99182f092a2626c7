// TCIMReference, TCIMValue and TCIMValue::TCIMType: typed CIM values. Each carries a
// pointer to an immutable `Content` that only the host defines.
#pragma once

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

#include "plugin/host/tal_api.h"

namespace NVEXTAL20 {

class ICIMNamespace;

/// The object path of an instance. Copies share their content.
class TAL_API TCIMReference {
public:
    struct Content;
    /// For the host: a reference with this content, which must not be null.
    explicit TCIMReference(boost::shared_ptr<const Content> content);
    TCIMReference(const TCIMReference& other);
    TCIMReference& operator=(const TCIMReference& other);
    ~TCIMReference();
    /// For the host: what the reference holds.
    const boost::shared_ptr<const Content>& content() const { return held; }

private:
    boost::shared_ptr<const Content> held;
};

/// A CIM value: null, a scalar, an array or a reference. Copies share their content.
class TAL_API TCIMValue {
public:
    /// A CIM data type, named by its lower-case word: "string", "uint64", "boolean", ...
    class TAL_API TCIMType {
    public:
        struct Content;
        /// Throws `TTALException` when no CIM type has that name.
        TCIMType(std::string name);  // NOLINT(google-explicit-constructor): the host's declared form
        /// For the host: a type with this content, which must not be null.
        explicit TCIMType(boost::shared_ptr<const Content> content);
        TCIMType(const TCIMType& other);
        TCIMType& operator=(const TCIMType& other);
        // The destructor is implicit, so a plug-in contains it: that `held` is the one member is binary interface.
        /// The type's name. For the type of an array property, the name of the element type.
        std::string ToString() const;
        /// For the host: what the type holds.
        const boost::shared_ptr<const Content>& content() const { return held; }

    private:
        boost::shared_ptr<const Content> held;
    };

    struct Content;
    /// The null value.
    TCIMValue();
    /// A string value.
    TCIMValue(std::string text);  // NOLINT(google-explicit-constructor): the host's declared form
    /// A reference value.
    TCIMValue(TCIMReference& reference);  // NOLINT(google-explicit-constructor): the host's declared form
    /// Parses `text` as one value of `type`; throws `TTALException` when the text does not fit. `nameSpace`
    /// resolves the class of a reference. `text` is not changed.
    TCIMValue(TCIMType type, std::string& text, boost::shared_ptr<ICIMNamespace> nameSpace);
    /// For the host: a value with this content; null content makes the null value.
    explicit TCIMValue(boost::shared_ptr<const Content> content);
    TCIMValue(const TCIMValue& other);
    TCIMValue& operator=(const TCIMValue& other);
    ~TCIMValue();

    /// Makes the value an array of `type` from the elements; an empty list gives an empty array. Plug-ins
    /// pass 256 for `flags`.
    void Set(TCIMType type, unsigned int flags, const std::vector<TCIMValue>& elements);
    /// True for an unset value.
    bool IsNull() const;
    /// The value as text; the null value gives the empty text.
    operator std::string() const;  // NOLINT(google-explicit-constructor): the host's declared form
    /// For the host: what the value holds; null for the null value.
    const boost::shared_ptr<const Content>& content() const { return held; }

private:
    boost::shared_ptr<const Content> held;
};

}  // namespace NVEXTAL20
