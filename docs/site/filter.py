#!/usr/bin/env python3
"""Prepares one file of the repository for Doxygen, on standard output.

Pages: the repository browser's links and headings become Doxygen's. A link to a page, with or
without a heading, becomes a reference to it, one to a public header a reference to that header's
page, and one to a Graphviz text the drawing itself. What the site does not have keeps its words.

Headers: everything in them joins the group of their subject, and the header gets a page of its own.
"""
import os
import re
import sys

GROUPS = {
    'audioCapturers': ('sound', 'Sound', 'Sound devices and the spectra of what they hear.'),
    'deskCapturers': ('screen', 'Screen', 'Displays and small pictures of what they show.'),
    'ConfigurationManager.h': ('settings', 'Settings', 'What the application keeps.'),
    'NetRCManager.h': ('service', 'Web service', 'Updates, feedback and reports of use.'),
    'FeedbackManager.h': ('diagnostics', 'Diagnostics', 'What a problem report needs.'),
    'HardwareInfo.h': ('diagnostics', 'Diagnostics', 'What a problem report needs.'),
    'AVAVFoundationFactory.h': ('devices', 'Devices', 'The devices that FFmpeg lists.'),
}
FENCED = re.compile(r'^```.*?^```$', re.MULTILINE | re.DOTALL)
HEADING = re.compile(r'^(#+) (.+)$', re.MULTILINE)
GUARD = re.compile(r'#ifndef (\w+)\n#define \1\n\n(?P<code>.*)\n#endif\n\Z', re.DOTALL)
LINK = re.compile(r'(!?)\[([^\[\]]*)\]\(([^()\s]+)\)')


def slug(heading):
    """The anchor that repository browsers give a heading."""
    return re.sub(r'[^\w\- ]', '', heading.lower()).replace(' ', '-')


def page_label(path):
    stem = os.path.splitext(os.path.basename(path))[0].lower()
    return 'index' if stem == 'readme' else stem


def labelled_headings(path, text):
    page = page_label(path)

    def label(match):
        hashes, words = match.groups()
        place = f'{page}_{slug(words)}'
        if page != 'index':
            return f'{hashes} {words} {{#{page if hashes == "#" else place}}}'
        # As sections they would stand among the pages in the side bar.
        level = len(hashes)
        return match.group() if level == 1 else f'\\anchor {place}\n<h{level - 1}>{words}</h{level - 1}>'

    return HEADING.sub(label, text)


def site_link(path, is_image, words, target):
    file, _, heading = target.partition('#')
    name = os.path.basename(file)
    suffix = os.path.splitext(name)[1]
    if is_image:
        return f'![{words}]({name})'
    if suffix == '.dot':
        return f'\\dotfile {name} "{words}"'
    if suffix == '.md' or not file:
        page = page_label(file or path)
        return f'[{words}](@ref {page}_{heading})' if heading else f'[{words}](@ref {page})'
    if suffix == '.h' and not name.endswith('_p.h'):
        return f'[{words}](@ref {name})'
    if name == 'LICENSE':
        return f'<a href="{name}">{words}</a>'
    return words


def site_links(path, text):
    folder = os.path.dirname(os.path.abspath(path))

    def replacement(match):
        is_image, words, target = match.groups()
        file = target.partition('#')[0]
        if re.match(r'\w+:', target) or not os.path.exists(os.path.join(folder, file)):
            return match.group()  # what is not there stays as it is, and is found to be missing
        return site_link(path, is_image, words, target)

    return LINK.sub(replacement, text)


def outside_code(text, change):
    result, end = '', 0
    for code in FENCED.finditer(text):
        result += change(text[end:code.start()]) + code.group()
        end = code.end()
    return result + change(text[end:])


def page(path, text):
    return outside_code(text, lambda part: site_links(path, labelled_headings(path, part)))


def header(path, text):
    """The lines of the include guard make room, so that warnings name the right line."""
    guarded = GUARD.match(text)
    folder, name = os.path.split(path)
    group = GROUPS.get(name) or GROUPS.get(os.path.basename(folder))
    if not guarded or not group:
        return f'/** \\file */\n{text}'
    label, title, brief = group
    return (f'/** \\file */\n/** \\addtogroup {label} {title}\n * {brief} \\{{ */\n'
            f'{guarded.group("code")}\n/** \\}} */\n')


def main():
    path = sys.argv[1]
    with open(path, encoding='utf-8') as file:
        text = file.read()
    convert = page if path.endswith('.md') else header
    sys.stdout.buffer.write(convert(path, text).encode('utf-8'))


if __name__ == '__main__':
    main()
