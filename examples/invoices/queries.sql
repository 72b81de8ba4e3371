select * from customer order by customer_no;
select * from invoice order by invoice_no;
select * from invoice_line order by invoice_no, line_no;
select * from line_tax order by invoice_no, line_no, kind;
select c.name, i.invoice_no, count(*) as line_count
  from customer c, invoice i, invoice_line l
  where c.customer_no = i.customer_no and i.invoice_no = l.invoice_no
  group by c.name, i.invoice_no
  order by i.invoice_no;
