#!/usr/bin/env python3
"""Writes hostile_names.pmml and hostile_names.csv beside this file: a classification tree
whose field names, category values and predictions SQL must quote or escape,
and whose cuts need 17 digits, with records on, just below and just above
every cut, and missing. Run it again after changing it; the outputs are kept
in the repository."""
import csv
import io
import math
import os
from xml.sax.saxutils import escape, quoteattr

HERE = os.path.dirname(os.path.abspath(__file__))
LOWEST = -1.7976931348623157e308  # the host's system-missing number
LOW = math.nextafter(LOWEST, 0.0)  # the low value, -1.7976931348623155e+308
LONG = (("A category value of three hundred characters, with it's own apostrophe, that no "
         "line of rule text can hold whole; ") * 4)[:300]

# Field keys and their names.
F = {'order': 'order', 'group': 'group', 'select': 'Select', 'radius': 'mean radius',
     'od': 'od280/od315', 'total': 'total.', 'rate': "O'Neill rate",
     'count': 'say "no" count', 'mixed': 'MixedCase'}
GROUPS = ["O'Neill", 'say "no"', LONG, 'plain']
CLASSES = ['low', "it's high", 'say "no"']
CUTS = {'order': 0.30000000000000004, 'select': 2.4511689320206642e-2, 'radius': 1e-300,
        'od': LOW, 'total': 0.1, 'rate': 1.0000000000000002, 'count': 100.0, 'mixed': 2.5}


def num(x):
    return repr(float(x))


def compare(field, op):
    return (f'<SimplePredicate field={quoteattr(F[field])} operator="{op}" '
            f'value="{num(CUTS[field])}"/>')


def one_of(values):
    array = ' '.join('"' + v.replace('"', '\\"') + '"' for v in values)
    return (f'<SimpleSetPredicate field={quoteattr(F["group"])} booleanOperator="isIn">'
            f'<Array type="string" n="{len(values)}">{escape(array)}</Array>'
            '</SimpleSetPredicate>')


def node(i, predicate, children=(), default=None):
    counts = [(i * 7 + k * 3) % 9 + 1 for k in range(3)]
    total = sum(counts)
    dist = ''.join(f'<ScoreDistribution value={quoteattr(c)} recordCount="{counts[k]}" '
                   f'probability="{num(counts[k] / total)}"/>' for k, c in enumerate(CLASSES))
    best = CLASSES[max(range(3), key=lambda k: counts[k])]
    d = f' defaultChild="{default}"' if default is not None else ''
    return (f'<Node id="{i}" score={quoteattr(best)} recordCount="{total}"{d}>{predicate}{dist}'
            + ''.join(children) + '</Node>')


TREE = node(0, '<True/>', [
    node(1, compare('order', 'lessOrEqual'), [
        node(3, one_of(["O'Neill", LONG]), [
            node(7, compare('select', 'lessThan')),
            node(8, compare('select', 'greaterOrEqual'))], default=7),
        node(4, one_of(['say "no"', 'plain']), [
            node(9, compare('radius', 'lessOrEqual'), [
                node(19, compare('count', 'lessThan')),
                node(20, compare('count', 'greaterOrEqual'))], default=20),
            node(10, compare('radius', 'greaterThan'))], default=10)], default=4),
    node(2, compare('order', 'greaterThan'), [
        node(5, compare('od', 'greaterThan'), [
            node(11, compare('mixed', 'lessThan'), [
                node(13, compare('total', 'lessOrEqual')),
                node(14, compare('total', 'greaterThan'))], default=13),
            node(12, compare('mixed', 'greaterOrEqual'), [
                node(15, compare('rate', 'lessOrEqual')),
                node(16, compare('rate', 'greaterThan'))], default=16)], default=12),
        node(6, compare('od', 'lessOrEqual'))], default=5)], default=1)


def pmml():
    fields = (f'<DataField name={quoteattr(F["group"])} optype="categorical" dataType="string">'
              + ''.join(f'<Value value={quoteattr(g)}/>' for g in GROUPS) + '</DataField>')
    fields += ''.join(f'<DataField name={quoteattr(F[k])} optype="continuous" dataType="double"/>'
                      for k in F if k != 'group')
    fields += ('<DataField name="outcome" optype="categorical" dataType="string">'
               + ''.join(f'<Value value={quoteattr(c)}/>' for c in CLASSES) + '</DataField>')
    mining = ''.join(f'<MiningField name={quoteattr(name)}/>' for name in F.values())
    text = ('<?xml version="1.0" encoding="UTF-8"?>'
            '<PMML xmlns="http://www.dmg.org/PMML-4_4" version="4.4">'
            '<Header description="engine checks: names and values that SQL must quote, cuts that'
            ' need 17 digits"/>'
            f'<DataDictionary numberOfFields="{len(F) + 1}">{fields}</DataDictionary>'
            '<TreeModel modelName="hostile" functionName="classification"'
            ' missingValueStrategy="defaultChild" noTrueChildStrategy="returnLastPrediction"'
            ' splitCharacteristic="binarySplit">'
            f'<MiningSchema>{mining}<MiningField name="outcome" usageType="target"/></MiningSchema>'
            f'{TREE}</TreeModel></PMML>')
    return text.replace('><', '>\n<') + '\n'


def records():
    left = {k: 0.0 for k in F}
    left.update(order=0.1, group="O'Neill", select=0.01)
    right = dict(left, order=1.0)
    rows = [dict(left, group=g) for g in GROUPS + ['unseen', None]]
    # Each cut, with a record on its way to the cut's node.
    on_the_way = {'order': [left], 'select': [left],
                  'radius': [dict(left, group='plain'), dict(left, group='say "no"')],
                  'count': [dict(left, group='plain')], 'od': [right], 'mixed': [right],
                  'total': [right], 'rate': [dict(right, mixed=3.0)]}
    for field, bases in on_the_way.items():
        cut = CUTS[field]
        for base in bases:
            for value in [cut, math.nextafter(cut, -math.inf), math.nextafter(cut, math.inf), None]:
                if value != LOWEST:  # the system-missing number is not a value
                    rows.append(dict(base, **{field: value}))
    rows += [dict(right, od=-1e308), dict(right, mixed=1.0, total=1e-300),
             dict(left, radius=-1e-300, group='plain')]
    out = io.StringIO()
    writer = csv.writer(out, lineterminator='\n')
    writer.writerow(['row'] + list(F.values()))
    for i, r in enumerate(rows, 1):
        writer.writerow([i] + ['' if r[k] is None else r[k] if k == 'group' else num(r[k])
                               for k in F])
    return out.getvalue()


with open(os.path.join(HERE, 'hostile_names.pmml'), 'w') as f:
    f.write(pmml())
with open(os.path.join(HERE, 'hostile_names.csv'), 'w') as f:
    f.write(records())
