-- Documents come, change and go by plain SQL; the side tables follow by themselves.
insert into mail (id, doc) values
  (1, orvxml.XMLCLOB('<!DOCTYPE mail SYSTEM "mail.dtd">
<mail sent="2026-11-23"><from>Ada</from><subject>Engine</subject><size>12.5</size>
<to>Grace</to><to>Edsger</to></mail>')),
  (2, orvxml.XMLCLOB('<!DOCTYPE mail SYSTEM "mail.dtd">
<mail sent="2026-11-24"><from>Grace</from><subject>Re: Engine</subject><size>3</size>
<to>Ada</to></mail>')),
  (3, orvxml.XMLCLOB('<!DOCTYPE mail SYSTEM "mail.dtd">
<mail sent="2026-11-24"><from>Edsger</from><subject>Harmful</subject><size>800.25</size>
<to>Ada</to><to>Grace</to><to>Alan</to></mail>'));
update mail set doc = orvxml.update(doc, '/mail/from', 'Barbara') where id = 2;
delete from mail where id = 3;
select id, sender, sent, kb, receiver from mail_view order by id, receiver;
