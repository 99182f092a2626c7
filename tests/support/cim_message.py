"""Requests of CIM operations in XML, as clients send them."""

HEAD = ('<?xml version="1.0" encoding="utf-8"?>\n<CIM CIMVERSION="2.0" DTDVERSION="2.0"><MESSAGE ID="1001" '
        'PROTOCOLVERSION="1.0"><SIMPLEREQ><IMETHODCALL NAME="{}"><LOCALNAMESPACEPATH><NAMESPACE NAME="root"/>'
        '<NAMESPACE NAME="cimv2"/></LOCALNAMESPACEPATH>')
END = "</IMETHODCALL></SIMPLEREQ></MESSAGE></CIM>"


def message(operation, *parameters):
    return HEAD.format(operation) + "".join(parameters) + END


def parameter(name, markup):
    return f'<IPARAMVALUE NAME="{name}">{markup}</IPARAMVALUE>'


def of_class(name, role="ClassName"):
    """The parameter that names a class."""
    return parameter(role, f'<CLASSNAME NAME="{name}"/>')
