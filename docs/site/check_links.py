#!/usr/bin/env python3
"""Fails when a link of the built site leads nowhere, or a page wants the network to be shown."""
import html.parser
import pathlib
import sys
import urllib.parse

# What a browser fetches by itself to show a page.
FETCHED = {('img', 'src'), ('script', 'src'), ('link', 'href'), ('object', 'data'),
           ('iframe', 'src'), ('embed', 'src')}
FOLLOWED = {('a', 'href'), ('area', 'href')}


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.anchors = [], set()
        self.feed(path.read_text(encoding='utf-8'))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name == 'id' or (tag, name) == ('a', 'name'):
                self.anchors.add(value)
            if (tag, name) in FETCHED | FOLLOWED and value:
                self.links.append(((tag, name) in FETCHED, value))


def problem(path, pages, is_fetched, link):
    url = urllib.parse.urlsplit(link)
    if url.scheme == 'javascript':
        return None
    if url.scheme or url.netloc:
        return 'needs the network for' if is_fetched else None
    target = (path.parent / urllib.parse.unquote(url.path)).resolve() if url.path else path
    if not target.is_file():
        return 'links to a missing file:'
    if url.fragment and target in pages and url.fragment not in pages[target].anchors:
        return 'links to a missing place:'
    return None


def main():
    folder = pathlib.Path(sys.argv[1]).resolve()
    pages = {path: Page(path) for path in folder.glob('**/*.html')}
    checked, problems = 0, []
    for path, page in sorted(pages.items()):
        for is_fetched, link in page.links:
            checked += 1
            if fault := problem(path, pages, is_fetched, link):
                problems.append(f'error: {path.name} {fault} {link}')
    for sheet in folder.glob('**/*.css'):
        if 'url(http' in sheet.read_text(encoding='utf-8').replace('"', '').replace("'", ''):
            problems.append(f'error: {sheet.name} needs the network')
    for line in problems:
        print(line, file=sys.stderr)
    if problems or not checked:
        sys.exit(1)
    print(f'{checked} links in {len(pages)} pages, all good')


if __name__ == '__main__':
    main()
