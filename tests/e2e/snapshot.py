"""A straightforward reading of a complete snapshot and of the table that the view makes of it."""
import ipaddress
import struct

COLUMNS = ["id", "prot", "local", "remote", "hostname", "l7-prot", "rx vol", "tx vol", "rx cps", "tx cps", "time",
           "rtt", "program", "class", "data"]
RIGHT = {"id", "l7-prot", "rx vol", "tx vol", "rx cps", "tx cps", "time", "rtt"}


def pool(block, at, count):
    texts = []
    for _ in range(count):
        length, = struct.unpack_from("<I", block, at)
        texts.append(block[at + 4:at + 4 + length])
        at += 4 + (length + 3 & ~3)
    return texts, at


def address(data, port):
    ip = ipaddress.IPv6Address(data)
    return f"{ip.ipv4_mapped}:{port}" if ip.ipv4_mapped else f"[{ip}]:{port}"


def duration(seconds):
    hours, minutes, seconds = seconds // 3600, seconds // 60 % 60, seconds % 60
    return f"{hours}:{minutes:02}:{seconds:02}" if hours else f"{minutes}:{seconds:02}" if minutes else f"{seconds}"


def rows(block, later):
    """The table's rows for a reader that knew nothing before; `later` is how many seconds pass while it reads."""
    (_, _, _, _, scale, count, narrow_count, wide_count, now) = struct.unpack_from("<8IQ", block)
    narrow, at = pool(block, 64 + 112 * count, narrow_count)
    wide, _ = pool(block, at, wide_count)
    narrow = [t.decode("cp1252") for t in narrow]
    wide = [t.decode("utf-16-le") for t in wide]
    found = {}
    for i in range(count):
        (remote, local, remote_port, local_port, protocol, state, _, key, tx, rx, tx_rate, rx_rate, start, rtt,
         program, data, class_now, class_other, host) = struct.unpack_from("<16s16sHHBB2s6Q6I", block, 64 + 112 * i)
        if state & 1:
            continue
        age = (now - start) // 1000 + later
        found[key] = [
            str(key), "tcp" if protocol & 0x80 else "udp", address(local, local_port),
            address(remote, remote_port), narrow[host], str(protocol & 0x7F), str(rx), str(tx),
            str((rx_rate << 20) // scale), str((tx_rate << 20) // scale),
            duration(age), f"{rtt / 1000:.3f}".rstrip("0").rstrip("."), wide[program],
            wide[class_now] + ("*" if wide[class_now] != wide[class_other] else ""), narrow[data]]
    return [found[key] for key in sorted(found)]


def table(block, later=0):
    lines = [COLUMNS] + rows(block, later)
    widths = [max(len(line[i]) for line in lines) for i in range(len(COLUMNS))]
    text = ""
    for line in lines:
        cells = [c.rjust(w) if name in RIGHT and c else c.ljust(w)
                 for c, w, name in zip(line, widths, COLUMNS)]
        text += " ".join(cells).rstrip(" ") + "\n"
    return text
