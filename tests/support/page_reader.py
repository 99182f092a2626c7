"""The elements and the text of an HTML page."""

from html.parser import HTMLParser

_STRUCTURE = {"html", "head", "body", "meta", "title", "style", "header", "main", "section", "footer", "h1", "h2", "p",
              "ul", "li", "dl", "dt", "dd", "div", "span", "small", "i", "b", "br", "table", "caption", "thead", "tbody",
              "tr", "th", "td", "data", "time", "details", "summary", "nav", "a", "wbr"}


class Page(HTMLParser):
    """`elements`: (name, attributes) in order; `text`: all text together; `strangers`: unexpected names."""

    def __init__(self, markup):
        super().__init__(convert_charrefs=True)
        self.elements, self.text = [], ""
        self.feed(markup)
        self.close()
        self.strangers = {name for name, _ in self.elements} - _STRUCTURE

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, sorted(attrs)))

    def handle_data(self, data):
        self.text += data

    def attributes(self):
        """The names of all attributes of the page."""
        return {name for _, attributes in self.elements for name, _ in attributes}

    def values(self, name):
        """The values of the attributes of that name."""
        return [value for _, attributes in self.elements for key, value in attributes if key == name]
