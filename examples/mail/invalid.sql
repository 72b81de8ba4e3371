insert into mail (id, doc)
  values (4, orvxml.XMLCLOB('<!DOCTYPE mail SYSTEM "mail.dtd"><mail sent="2026-11-24"/>'));
