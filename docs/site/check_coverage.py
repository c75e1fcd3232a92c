#!/usr/bin/env python3
"""Fails unless all of the public interface is documented.

Reads Doxygen's XML. Every class, file, group, function, macro, variable, property, type and value
of an enumeration needs a description, every parameter and every result one of its own. Doxygen's
own warnings leave out destructors, default constructors and parameters without a name.
"""
import pathlib
import sys
import xml.etree.ElementTree as ElementTree

COMPOUNDS = {'class', 'struct', 'union', 'namespace', 'group'}
NO_RESULT = {'', 'void'}


def text_of(element):
    return ''.join(element.itertext()).strip() if element is not None else ''


def is_described(element):
    return bool(text_of(element.find('briefdescription'))
                or text_of(element.find('detaileddescription')))


def described_parameters(member):
    return {text_of(name)
            for item in member.iter('parameteritem') if text_of(item.find('parameterdescription'))
            for name in item.iter('parametername')}


def has_result(member):
    return (member.get('kind') == 'function'
            and text_of(member.find('type')).replace('virtual', '').strip() not in NO_RESULT)


def is_left_out(member):
    """Deleted functions cannot be called; friends are declared elsewhere."""
    return member.get('kind') == 'friend' or '=delete' in text_of(member.find('argsstring')).replace(
        ' ', '')


def gaps_of_function(member, name):
    described = described_parameters(member)
    parameters = [text_of(parameter.find('declname')) or text_of(parameter.find('defname'))
                  for parameter in member.findall('param')
                  if text_of(parameter.find('type')) != 'void']
    for parameter in parameters:
        if parameter not in described:
            yield f'{name}: the parameter {parameter or "without a name"} is not documented'
    for gone in sorted(described.difference(parameters)):
        yield f'{name}: there is no parameter {gone}'
    results = member.findall('.//simplesect[@kind="return"]')
    if has_result(member) and not any(text_of(result) for result in results):
        yield f'{name}: the result is not documented'


def gaps_of_member(member, name):
    if not is_described(member) and member.find('reimplements') is None:
        yield f'{name} is not documented'
        return
    if member.get('kind') in ('function', 'signal', 'slot', 'define') and is_described(member):
        yield from gaps_of_function(member, name)
    for value in member.findall('enumvalue'):
        if not is_described(value):
            yield f'{name}::{text_of(value.find("name"))} is not documented'


def holds_something(compound):
    """A namespace may be there for a private class that is only named."""
    return compound.get('kind') != 'namespace' or any(
        compound.find(inner) is not None for inner in ('innerclass', 'innernamespace', 'sectiondef'))


def entities(folder):
    """Each compound and each member once: (element, name)."""
    seen = set()
    for path in sorted(pathlib.Path(folder).glob('*.xml')):
        for compound in ElementTree.parse(path).getroot().iter('compounddef'):
            if compound.get('prot') == 'private':
                continue
            if compound.get('kind') in COMPOUNDS and holds_something(compound):
                yield compound, text_of(compound.find('compoundname'))
            for member in compound.iter('memberdef'):
                if member.get('prot') != 'private' and member.get('id') not in seen:
                    seen.add(member.get('id'))
                    own = text_of(member.find('qualifiedname')) or text_of(member.find('name'))
                    yield member, own + text_of(member.find('argsstring'))


def main():
    gaps, count = [], 0
    for element, name in entities(sys.argv[1]):
        if is_left_out(element):
            continue
        count += 1
        if element.tag == 'memberdef':
            gaps += gaps_of_member(element, name)
        elif not is_described(element):
            gaps.append(f'{name} is not documented')
    for gap in gaps:
        print(f'error: {gap}', file=sys.stderr)
    if not count:
        print('error: there is nothing to document', file=sys.stderr)
    if gaps or not count:
        sys.exit(1)
    print(f'{count} entities, all documented')


if __name__ == '__main__':
    main()
