#!/usr/bin/env python3
"""Writes probe records for the hand-written documents of tests/data/pmml: for
each predictor, the values its predicates name, values beside each numeric
one, an unknown category and a missing value, in every combination. The
engine check scores them with `treeout score`, so no answers are kept here.

Usage: make_probes.py ../../data/pmml/NAME.pmml > NAME.csv
"""
import csv
import itertools
import re
import sys
import xml.etree.ElementTree as ET


def local(tag):
    return tag.rsplit('}', 1)[-1]


def main(path):
    root = ET.parse(path).getroot()
    fields, targets = [], set()
    for e in root.iter():
        if local(e.tag) == 'DataField':
            fields.append(e)
        if local(e.tag) == 'MiningField' and e.get('usageType') in ('target', 'predicted'):
            targets.add(e.get('name'))
    named = {}
    for e in root.iter():
        if local(e.tag) in ('SimplePredicate', 'SimpleSetPredicate'):
            values = [e.get('value')] if e.get('value') is not None else []
            for a in e.iter():
                if local(a.tag) == 'Array' and a.text:
                    values += re.findall(r'"[^"]*"|\S+', a.text)
            named.setdefault(e.get('field'), set()).update(v.strip('"') for v in values)
    # A derived field's values count for the fields it reads.
    for e in list(root.iter()) * 3:
        if local(e.tag) == 'DerivedField' and e.get('name') in named:
            for ref in e.iter():
                if local(ref.tag) == 'FieldRef':
                    named.setdefault(ref.get('field'), set()).update(named[e.get('name')])
    columns, choices = [], []
    for f in fields:
        name = f.get('name')
        if name in targets:
            continue
        declared = [v.get('value') for v in f if local(v.tag) == 'Value']
        values = set(named.get(name, ())) | set(declared)
        if f.get('optype') == 'continuous' and f.get('dataType') not in ('date',):
            near = set()
            for v in values:
                try:
                    x = float(v)
                except ValueError:
                    continue
                near |= {repr(x - 0.5), repr(x * (1 - 1e-7)), v, repr(x * (1 + 1e-7)),
                         repr(x + 0.5)}
            values = near or {'0', '1'}
        elif f.get('dataType') == 'boolean':
            values |= {'true', 'false'}
        else:
            values.add('unknown')
        columns.append(name)
        choices.append(sorted(values) + [''])
    out = csv.writer(sys.stdout, lineterminator='\n')
    # A record number first, so that no line is blank.
    out.writerow(['record'] + columns)
    for number, row in enumerate(itertools.product(*choices), 1):
        out.writerow([number] + list(row))


if __name__ == '__main__':
    main(sys.argv[1])
