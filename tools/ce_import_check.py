#!/usr/bin/env python3
"""Checks that pelnor.exe imports nothing that Windows CE does not offer.

The imports of the program are compared with the CE export lists in
tools/ce-api/, less
  - what an empty program built the same way imports (the C runtime's own
    start-up), and
  - what only the desktop stand-ins in platform/ call (their undefined
    __imp_ symbols that no other object of the program uses).
A desktop name that CE offers under another name (a macro or inline on CE)
is looked up under that name.

Usage: ce_import_check.py --objdump OBJDUMP --nm NM --exe pelnor.exe
         --baseline empty.exe --platform-lib libpelnor_platform.a
         --program-libs libpelnor_base.a libpelnor_text.a ... --ce-dir tools/ce-api
Exit status 1 when a function is missing on CE.
"""
import argparse
import glob
import os
import re
import subprocess
import sys

# Desktop import -> the CE export that the same source line reaches on CE.
CE_NAME = {
    'GetWindowLongPtrW': 'GetWindowLongW',      # 32-bit on CE: no Ptr variants
    'SetWindowLongPtrW': 'SetWindowLongW',
    'GetClassLongPtrW': 'GetClassLongW',
    'SetClassLongPtrW': 'SetClassLongW',
    'DialogBoxParamW': 'DialogBoxIndirectParamW',  # a macro over the template on CE
    'CreateDialogParamW': 'CreateDialogIndirectParamW',
    'ImageList_LoadImageW': 'ImageList_LoadImage',
    'SetEvent': 'EventModify',
    'ResetEvent': 'EventModify',
    'PulseEvent': 'EventModify',
    'TlsAlloc': 'TlsCall',
    'TlsFree': 'TlsCall',
    'GetProcAddress': 'GetProcAddressW',
}

# Inline functions of the CE headers: no export, always available.
CE_INLINE = {'GetCurrentThreadId', 'GetCurrentProcessId', 'GetCurrentThread', 'GetCurrentProcess',
             'ExitProcess'}


def imports_of(objdump, exe):
    out = subprocess.run([objdump, '-p', exe], check=True, capture_output=True, text=True).stdout
    names = {}
    dll = None
    for line in out.splitlines():
        m = re.match(r'\s*DLL Name:\s*(\S+)', line)
        if m:
            dll = m.group(1)
            continue
        m = re.match(r'\s+[0-9a-fA-F]+\s+\d+\s+(\S+)\s*$', line)
        if m and dll:
            names[m.group(1)] = dll
    return names


def undefined_imports(nm, archive):
    """Names an archive's objects call: __imp_X for functions declared as
    imports, X for those declared plainly (the import library's thunk)."""
    out = subprocess.run([nm, '-u', archive], check=True, capture_output=True, text=True).stdout
    found = set()
    for line in out.splitlines():
        m = re.search(r'\bU\s+(?:__imp_)?(\S+)$', line)
        if m:
            found.add(m.group(1))
    return found


def ce_exports(ce_dir):
    names = set()
    for path in glob.glob(os.path.join(ce_dir, '*.txt')):
        with open(path, encoding='utf-8') as f:
            names.update(line.strip() for line in f if line.strip())
    return names


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument('--objdump', required=True)
    ap.add_argument('--nm', required=True)
    ap.add_argument('--exe', required=True)
    ap.add_argument('--baseline', required=True)
    ap.add_argument('--platform-lib', required=True)
    ap.add_argument('--program-libs', required=True, nargs='+')
    ap.add_argument('--ce-dir', required=True)
    args = ap.parse_args()

    program = imports_of(args.objdump, args.exe)
    baseline = imports_of(args.objdump, args.baseline)
    platform_only = undefined_imports(args.nm, args.platform_lib)
    for library in args.program_libs:
        platform_only -= undefined_imports(args.nm, library)
    ce = ce_exports(args.ce_dir)

    checked = {n: d for n, d in program.items() if n not in baseline and n not in platform_only}
    missing = []
    for name, dll in sorted(checked.items()):
        if name in CE_INLINE:
            continue
        if CE_NAME.get(name, name) not in ce:
            missing.append((name, dll))

    print('pelnor.exe imports %d functions: %d from the runtime start-up, %d only from platform/, '
          '%d checked against the CE exports' %
          (len(program), len([n for n in program if n in baseline]),
           len([n for n in program if n in platform_only and n not in baseline]), len(checked)))
    if missing:
        print('Not offered by Windows CE:')
        for name, dll in missing:
            print('  %s (%s)' % (name, dll))
        return 1
    print('Every checked import is offered by Windows CE.')
    return 0


if __name__ == '__main__':
    sys.exit(main())
