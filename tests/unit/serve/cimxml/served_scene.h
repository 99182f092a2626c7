// ServedScene: what the plug-in publishes of a described machine, in an object store, and requests to it as clients
// write them.
#pragma once

#include <pugixml.hpp>
#include <string>
#include <utility>
#include <vector>

#include "serve/cimxml/object_store.h"
#include "serve/cimxml/operations.h"
#include "tests/support/fake_os.h"
#include "tests/support/host_session.h"
#include "tests/support/made_instance.h"

namespace diskmgt_test {

/// Markup of parameter values.
std::string classValue(const std::string& name);
std::string plainValue(const std::string& text);
std::string listValue(const std::vector<std::string>& texts);
/// An instance name whose keys are texts, as a client writes it that says nothing of types.
std::string instanceValue(const std::string& className, const std::vector<std::pair<std::string, std::string>>& keys);
/// Its `INSTANCENAME` with a key of a reference to each.
std::string pairValue(const std::string& className, const std::string& antecedent, const std::string& dependent);

using NamedValues = std::vector<std::pair<std::string, std::string>>;  // parameter name and markup

std::string requestText(const std::string& operation, const NamedValues& parameters,
                        const std::string& nameSpace = "root/cimv2");

/// An answer, read.
class Answer {
public:
    explicit Answer(diskmgt::serve::CimReply cimReply);

    /// The value of every node that the XPath finds, in order: an attribute's value, an element's whole text.
    std::vector<std::string> all(const std::string& xpath) const;
    /// The same of the only one; "(none)" or "(several)" otherwise.
    std::string only(const std::string& xpath) const;
    /// The names of the elements right beneath the one that the XPath finds.
    std::vector<std::string> elementsIn(const std::string& xpath) const;
    std::size_t count(const std::string& xpath) const { return all(xpath).size(); }
    /// The code of the CIM error; empty when there is none.
    std::string error() const;
    std::string description() const { return only("//ERROR/@DESCRIPTION"); }
    /// The keys DeviceID of the instance names right beneath the return value or in its paths, in order.
    std::vector<std::string> devices() const;

    diskmgt::serve::CimReply reply;

private:
    pugi::xml_document document;
};

/// A drive with two partitions and a mounted file system on the first, and a drive without anything.
class ServedScene {
public:
    ServedScene();

    Answer ask(const std::string& operation, const NamedValues& parameters) const;
    Answer askText(const std::string& request) const;
    /// The full name of a device, as a client writes it.
    static std::string device(const std::string& className, const std::string& deviceId);
    static std::string drive() { return device("VEXSG_DiskDrive", "/dev/sda"); }
    static std::string partition() { return device("VEXSG_DiskPartition", "/dev/sda1"); }
    static std::string logicalDisk() { return device("VEXSG_LogicalDisk", "/dev/sda1"); }

    const std::vector<refhost::ClassDeclaration>& classes() const { return session.host.classes(); }
    const diskmgt::serve::ObjectStore& objects() const { return *store; }

private:
    FakeOs machine;
    HostWithPlugin session;
    std::unique_ptr<diskmgt::serve::ObjectStore> store;
};

/// The declaration of a scalar property.
refhost::PropertyDeclaration property(const std::string& name, const std::string& type, bool isKey = false);

}  // namespace diskmgt_test
