#!/usr/bin/env python3
"""Prints the rows of a register list (src/memory/register_class.h) from a table of register facts.

    make_register_list.py TABLE PERIPHERAL [PERIPHERAL ...]

TABLE is tab-separated with a header line; it has the columns peripheral, register, offset, size_bits,
access (read-only, read-write, write-only), reset, dim and dim_increment. Several peripherals that
share one base address give one list. Where they name one offset differently the first named
peripheral wins, and the other name follows as a comment, for a human to decide.
"""
import argparse
import csv
import sys

ACCESS = {'read-only': 'RO', 'read-write': 'RW', 'write-only': 'WO'}
WIDTH = {'32': '', '16': '16', '8': '8'}


def access_of(fact):
    if fact['register'].startswith('TASKS_'):
        return 'TASK'
    return ACCESS[fact['access']]


def row(fact, columns):
    """One row, its columns aligned."""
    count = int(fact['dim'])
    macro = ('ARRAY' if count > 1 else 'REGISTER') + WIDTH[fact['size_bits']]
    offset = '0x%03X' % int(fact['offset'], 16)
    name = (fact['register'] + ',').ljust(columns['name'] + 1)
    if count > 1:
        name += ' %2d, %2d,' % (count, int(fact['dim_increment']))
    elif columns['arrays']:
        name += ' ' * 8
    access = (access_of(fact) + ',').ljust(5)
    reset = int(fact['reset'], 16)
    reset_text = '0' if reset == 0 else '0x%08X' % reset
    return '%-8s(%s, %s %s %s)' % (macro, offset, name, access, reset_text)


def select(table, peripherals):
    """The facts of the peripherals by offset, and the names that lost."""
    chosen = {}
    losers = {}
    for peripheral in peripherals:
        facts = [fact for fact in table if fact['peripheral'] == peripheral]
        if not facts:
            sys.exit('no peripheral named ' + peripheral)
        for fact in facts:
            offset = int(fact['offset'], 16)
            winner = chosen.setdefault(offset, fact)
            if winner['register'] != fact['register']:
                losers.setdefault(offset, []).append('%s in %s' % (fact['register'], peripheral))
    return chosen, losers


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('table')
    parser.add_argument('peripheral', nargs='+')
    arguments = parser.parse_args()
    with open(arguments.table, newline='') as stream:
        table = list(csv.DictReader(stream, delimiter='\t'))
    chosen, losers = select(table, arguments.peripheral)
    columns = {
        'name': max(len(fact['register']) for fact in chosen.values()),
        'arrays': any(int(fact['dim']) > 1 for fact in chosen.values()),
    }
    for offset in sorted(chosen):
        text = row(chosen[offset], columns)
        if offset in losers:
            text += '  // ' + ', '.join(losers[offset])
        print(text)


if __name__ == '__main__':
    main()
