// A host on top of the reference host: loads a plug-in, requests classes and prints what was published.
//
//   small_host PLUGIN [SCHEMA.mof...] CLASS...
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "refhost/api/reference_host.h"

namespace {

constexpr unsigned kLimitSeconds = 60;

struct Arguments {
    std::string plugin;
    std::vector<std::string> schemaFiles, classes;
};

bool isSchemaFile(const std::string& word) { return word.size() > 4 && word.compare(word.size() - 4, 4, ".mof") == 0; }

Arguments readArguments(int count, char** words) {
    Arguments arguments;
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if (i == 1)
            arguments.plugin = word;
        else
            (isSchemaFile(word) ? arguments.schemaFiles : arguments.classes).push_back(word);
    }
    if (arguments.classes.empty()) throw std::invalid_argument("usage: small_host PLUGIN [SCHEMA.mof...] CLASS...");
    return arguments;
}

refhost::SchemaText readSchema(const std::string& file) {
    std::ifstream source(file);
    if (!source) throw std::runtime_error("cannot read " + file);
    return {file, std::string(std::istreambuf_iterator<char>(source), {})};
}

/// What a value map calls a value; otherwise the value.
std::string shown(const refhost::PropertyDeclaration& property, const std::string& value) {
    for (const auto& [number, name] : property.valueNames)
        if (number == value) return name;
    return value;
}

void print(const refhost::Instance& instance) {
    std::cout << instance.path << "\n";
    for (const refhost::PropertyValue& property : instance.properties) {
        if (property.isNull) continue;
        std::cout << "    " << property.declaration->name << ":";
        for (const std::string& element : property.elements) std::cout << " " << shown(*property.declaration, element);
        std::cout << "\n";
    }
}

/// Associations last: a plug-in pairs instances that are published already. Throws for an unknown class.
std::vector<std::string> inOrder(const refhost::ReferenceHost& host, std::vector<std::string> classes) {
    for (const std::string& name : classes)
        if (host.findClass(name) == nullptr) throw std::invalid_argument("no schema declares the class " + name);
    std::stable_partition(classes.begin(), classes.end(),
                          [&host](const std::string& name) { return !host.findClass(name)->isAssociation; });
    return classes;
}

int serve(const Arguments& arguments) {
    refhost::HostOptions options;
    for (const std::string& file : arguments.schemaFiles) options.schemaTexts.push_back(readSchema(file));
    refhost::ReferenceHost host(options);
    constexpr int kWarning = 1;
    host.forwardLog(kWarning, [](const refhost::LogLine& line) { std::cerr << "log: " << line.text << "\n"; });

    // The plug-in runs in this process, and what it asks the kernel for may never come back.
    (void)::alarm(kLimitSeconds);
    const refhost::PluginIdentity plugin = host.loadPlugin(arguments.plugin);
    std::cerr << "loaded " << plugin.name << " " << plugin.version << "\n";
    const std::vector<std::string> classes = inOrder(host, arguments.classes);
    const refhost::RequestResult result = host.request(classes);
    (void)::alarm(0);

    for (const std::string& name : classes)
        for (const refhost::Instance& instance : host.instances(name)) print(instance);
    if (result.failure) std::cerr << "small_host: the request ended early: " << *result.failure << "\n";
    return result.failure ? EXIT_FAILURE : EXIT_SUCCESS;
}

}  // namespace

int main(int count, char** words) {
    try {
        return serve(readArguments(count, words));
    } catch (const std::exception& error) {  // of the host: PluginError, SchemaError
        std::cerr << "small_host: " << error.what() << "\n";
        return EXIT_FAILURE;
    }
}
